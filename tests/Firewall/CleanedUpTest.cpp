// Who still holds a reactor that was cleaned up may call what he likes: nothing comes back. The
// output stands, for another source has the same.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>

#include "tests/support/FullConfiguration.h"
#include "tests/support/TraceCapture.h"

namespace {

using ::testing::IsEmpty;

struct CleanedUp {
  Firewall::Config::Ptr config;
  Firewall::RootSm::Ptr rootSm;
  Firewall::VrfSm::Ptr vrfSm;
  Firewall::SegmentSM::Ptr segmentSm;
};

struct HandlerCall {
  const char* name;  // of the handler, and behind a blank what tells two of one name apart
  std::function<void(const CleanedUp&)> call;
  bool hasOthersCalled = false;  // it leaves it to other handlers to do nothing
};
// Without it the bytes are printed, and those between the members are set by nobody.
void PrintTo(const HandlerCall& call, std::ostream* out) { *out << call.name; }

const Lanx::IntfId ethernet1(std::string_view("Ethernet1"));

Pith::Ptr<const Firewall::ClassMapFirewall> anyClassMap(const CleanedUp& was) {
  return *was.config->classMap().begin();
}
Pith::Ptr<const Firewall::Policy> anyPolicy(const CleanedUp& was) {
  return *was.config->policy().begin();
}
Pith::String anySegment(const CleanedUp& was) { return was.segmentSm->attributes().segmentName; }

const HandlerCall handlerCalls[] = {
    {"handleDefaultPolicyDrop", [](const auto& was) { was.rootSm->handleDefaultPolicyDrop(); }},
    {"handleForwardingType", [](const auto& was) { was.rootSm->handleForwardingType(); }},
    {"handleVrfConfig all", [](const auto& was) { was.rootSm->handleVrfConfig(); }},
    {"handleVrfConfig", [](const auto& was) { was.rootSm->handleVrfConfig("red"); }, true},
    {"handleVrf",
     [](const auto& was) { was.rootSm->handleVrf(L3::VrfName(std::string_view("red"))); }},
    {"handleL2Config", [](const auto& was) { was.rootSm->handleL2Config(); }},
    {"handlePolicy all", [](const auto& was) { was.rootSm->handlePolicy(); }},
    {"handlePolicy", [](const auto& was) { was.rootSm->handlePolicy(anyPolicy(was)->name()); }},
    {"handlePolicyRules", [](const auto& was) { was.rootSm->handlePolicyRules(anyPolicy(was)); }},
    {"handlePolicyRule", [](const auto& was) { was.rootSm->handlePolicyRule(anyPolicy(was), 10); }},
    {"handleVersionForAppProfile",
     [](const auto& was) { was.rootSm->handleVersionForAppProfile("web"); }},
    {"handleClassMap all", [](const auto& was) { was.rootSm->handleClassMap(); }},
    {"handleClassMap",
     [](const auto& was) { was.rootSm->handleClassMap(anyClassMap(was)->name()); }},
    {"handleClassMap of one that is gone",
     [](const auto& was) { was.rootSm->handleClassMap("__segment_gone"); }},
    {"handleClassMapIntfs",
     [](const auto& was) { was.rootSm->handleClassMapIntfs(anyClassMap(was)); }},
    {"handleClassMapIntf",
     [](const auto& was) { was.rootSm->handleClassMapIntf(anyClassMap(was), ethernet1); }},
    {"handleIntfVlan",
     [](const auto& was) {
       const auto map = anyClassMap(was);
       was.rootSm->handleIntfVlan(map, *map->intfVlanData().begin(), {100, 100});
     }},
    {"handleSegment all", [](const auto& was) { was.vrfSm->handleSegment(); }, true},
    {"handleSegment", [](const auto& was) { was.vrfSm->handleSegment(anySegment(was)); }},
    {"handleSubcriberSideSegment",
     [](const auto& was) { was.vrfSm->handleSubcriberSideSegment(anySegment(was)); }},
    {"handleForwardingSegmentsPolicySupported",
     [](const auto& was) { was.vrfSm->handleForwardingSegmentsPolicySupported(); }},
    {"handleGlobalPrefix",
     [](const auto& was) { was.vrfSm->handleGlobalPrefix(TestSupport::prefix("10.0.0.0/8")); }},
    {"handleFromSegment all", [](const auto& was) { was.segmentSm->handleFromSegment(); }, true},
    {"handleFromSegment",
     [](const auto& was) { was.segmentSm->handleFromSegment(anySegment(was)); }},
    {"addInterimForwardingSegments",
     [](const auto& was) { was.segmentSm->addInterimForwardingSegments(); }},
    {"updateSubcriberSegment",
     [](const auto& was) { was.segmentSm->updateSubcriberSegment(anySegment(was)); }},
    {"updateLocalDataForVrfSegment",
     [](const auto& was) { was.segmentSm->updateLocalDataForVrfSegment(); }},
    {"handleFallbackPolicy", [](const auto& was) { was.segmentSm->handleFallbackPolicy(); }},
    {"handleMatchListConfigPath all",
     [](const auto& was) { was.segmentSm->handleMatchListConfigPath(); }, true},
    {"handleMatchListConfigPath",
     [](const auto& was) { was.segmentSm->handleMatchListConfigPath("path"); }},
    {"handleClassMap of the segment", [](const auto& was) { was.segmentSm->handleClassMap(); }},
};

class CleanedUpTest : public TestSupport::SwitchTest,
                      public ::testing::WithParamInterface<HandlerCall> {};

TEST_P(CleanedUpTest, WritesNothingAnyMore) {
  TestSupport::shareConfiguration(sw());
  for (const char* source : {"api", "cli"}) {
    TestSupport::fullSource(sw(), source)->enabledIs(true);
  }
  sw().start();
  CleanedUp was{sw().source("cli"), sw().rootSm("cli"), {}, {}};
  was.vrfSm = was.rootSm->vrfSm("red");
  was.segmentSm = *was.vrfSm->segmentSm().begin();
  was.rootSm->cleanup();
  // What another change left to do would be done by any of them.
  sw().hwConfig->services("web")->versionInc(1);
  sw().recorder.take();
  const TestSupport::TraceCapture traces;
  GetParam().call(was);
  EXPECT_THAT(sw().recorder.take(), IsEmpty());
  EXPECT_FALSE(sw().hwConfig->updateInProgress());
  EXPECT_GE(traces.records().size(), 1U);
  if (!GetParam().hasOthersCalled) {
    EXPECT_LE(traces.records().size(), 2U);  // it is entered and left
  }
}

INSTANTIATE_TEST_SUITE_P(Reactors, CleanedUpTest, ::testing::ValuesIn(handlerCalls),
                         [](const auto& info) {
                           std::string name = info.param.name;
                           for (char& letter : name) letter = letter == ' ' ? '_' : letter;
                           return name;
                         });

}  // namespace
