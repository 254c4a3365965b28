// Application profiles: compiled into services by difference.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "framework/Pith/RangeException.h"
#include "tests/Firewall/AppProfileSupport.h"
#include "tests/support/TraceCapture.h"

namespace {

using Classification::AddressFamily;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using TestSupport::module;
using TestSupport::Reaction;
using TestSupport::TraceCapture;
using TestSupport::TraceRecord;

class AppProfileTest : public TestSupport::AppProfileFixture {
 protected:
  // An application that has everything.
  void fill(const char* name) {
    const auto made = app(name);
    made->afIs(AddressFamily::ipv4);
    made->protoIs({6, 6});
    made->protoIs({17, 18});
    made->dstPortFieldSetIs("dst");
    made->srcPortFieldSetIs("src");
    made->srcPrefixFieldSetIs("from");
    made->dstPrefixFieldSetIs("to");
    ports("dst", {{80, 80}, {443, 444}});
    ports("src", {{1024, 65535}});
    prefixes("from", {"10.0.0.0/8", "2001:db8::/32"});
    prefixes("to", {"192.0.2.0/24"});
  }
};

TEST_F(AppProfileTest, FirstVersionMakesTheService) {
  fill("web");
  compile("web");
  const auto made = service("web");
  ASSERT_TRUE(made);
  EXPECT_EQ(made->af(), AddressFamily::ipv4);
  EXPECT_THAT(membersOf(made->protocol()), ElementsAre("6", "17-18"));
  EXPECT_THAT(portsOf(made->dstPort()), ElementsAre("80", "443-444"));
  EXPECT_THAT(portsOf(made->srcPort()), ElementsAre("1024-65535"));
  EXPECT_THAT(membersOf(made->srcIpPrefix()), ElementsAre("10.0.0.0/8", "2001:db8::/32"));
  EXPECT_THAT(membersOf(made->dstIpPrefix()), ElementsAre("192.0.2.0/24"));
  EXPECT_EQ(made->version(), 1U);
}

TEST_F(AppProfileTest, WritesComeInOrderUnderAnOpenUpdate) {
  fill("web");
  compile("web");
  EXPECT_THAT(recorder.take(),
              ElementsAre("~ updateInProgress = true", "+ services/web", "~ services/web/af = ipv4",
                          "+ services/web/protocol/6", "+ services/web/protocol/17-18",
                          "+ services/web/dstPort/80 = 80", "+ services/web/dstPort/443 = 443-444",
                          "+ services/web/srcPort/1024 = 1024-65535",
                          "+ services/web/srcIpPrefix/10.0.0.0%2F8",
                          "+ services/web/srcIpPrefix/2001:db8::%2F32",
                          "+ services/web/dstIpPrefix/192.0.2.0%2F24", "~ services/web/version = 1",
                          "~ updateInProgress = false"));
}

TEST_F(AppProfileTest, EveryCompilationRaisesTheVersionByOne) {
  fill("web");
  for (std::uint32_t version = 1; version <= 4; ++version) {
    compile("web");
    EXPECT_EQ(service("web")->version(), version);
  }
}

TEST_F(AppProfileTest, UnchangedProfileRewritesTheProtocolsAlone) {
  fill("web");
  compile("web");
  recorder.take();
  compile("web");
  EXPECT_THAT(recorder.take(),
              ElementsAre("~ updateInProgress = true", "- services/web/protocol/6",
                          "- services/web/protocol/17-18", "+ services/web/protocol/6",
                          "+ services/web/protocol/17-18", "~ services/web/version = 2",
                          "~ updateInProgress = false"));
}

TEST_F(AppProfileTest, VersionZeroEmptiesTheServiceAndRemovesIt) {
  fill("web");
  compile("web");
  const auto made = service("web");
  recorder.take();
  lone.versions->versionForAppProfileIs("web", 0U);
  EXPECT_THAT(recorder.take(), ElementsAre("~ updateInProgress = true", "- services/web/protocol/6",
                                           "- services/web/protocol/17-18", "- services/web",
                                           "~ updateInProgress = false"));
  EXPECT_TRUE(made->protocol().empty());
  EXPECT_EQ(made->version(), 1U);
}

TEST_F(AppProfileTest, RemovedVersionRemovesTheService) {
  fill("web");
  compile("web");
  lone.versions->versionForAppProfileDel("web");
  EXPECT_FALSE(service("web"));
}

TEST_F(AppProfileTest, VersionZeroOfAnUnknownProfileChangesNothing) {
  lone.versions->versionForAppProfileIs("web", 7U);
  lone.hwConfig->servicesDel("web");
  recorder.take();
  lone.versions->versionForAppProfileIs("web", 0U);
  EXPECT_THAT(recorder.take(),
              ElementsAre("~ updateInProgress = true", "~ updateInProgress = false"));
}

TEST_F(AppProfileTest, RulesFollowTheProfile) {
  lone.config->policyIs("p")->ruleIs(5U, Pith::String("web"), Firewall::Action::forward);
  const auto made = app("web");
  made->protoIs({6, 6});
  made->dstPortFieldSetIs("dst");
  ports("dst", {{80, 80}, {443, 443}});
  compile("web");
  const auto out = lone.hwConfig->policy("p");
  EXPECT_THAT(TestSupport::linesOf(*out), ElementsAre("5/1 unset > unset 6 80 < 0-65535 forward",
                                                      "5/2 unset > unset 6 443 < 0-65535 forward"));
  ports("dst", {{443, 443}});
  EXPECT_EQ(out->rule().size(), 2U);
  compile("web");
  EXPECT_THAT(TestSupport::linesOf(*out), ElementsAre("5/1 unset > unset 6 443 < 0-65535 forward"));
  lone.versions->versionForAppProfileIs("web", 0U);
  EXPECT_TRUE(out->rule().empty());
}

TEST_F(AppProfileTest, MissingApplicationContributesNothing) {
  fill("web");
  compile("web");
  lone.apps->appDel("web");
  compile("web");
  const auto left = service("web");
  EXPECT_EQ(left->af(), AddressFamily::unspecified);
  EXPECT_TRUE(left->protocol().empty() && left->dstPort().empty() && left->srcPort().empty());
  EXPECT_TRUE(left->srcIpPrefix().empty() && left->dstIpPrefix().empty());
  EXPECT_EQ(left->version(), 2U);
}

TEST_F(AppProfileTest, ServiceOfAnApplicationThatNeverWasIsEmptyAndHasAVersion) {
  compile("nothing");
  ASSERT_TRUE(service("nothing"));
  EXPECT_EQ(service("nothing")->version(), 1U);
  EXPECT_FALSE(lone.sm->hasRules(service("nothing")));
}

TEST_F(AppProfileTest, FieldSetsThatAreNotNamedAnyMoreAreEmptied) {
  fill("web");
  compile("web");
  const auto made = app("web");
  made->dstPortFieldSetIs("");
  made->srcPortFieldSetIs("");
  made->srcPrefixFieldSetIs("");
  made->dstPrefixFieldSetIs("");
  recorder.take();
  compile("web");
  // Ports before the protocols, prefixes after them.
  EXPECT_THAT(recorder.take(),
              ElementsAre("~ updateInProgress = true", "- services/web/dstPort/80",
                          "- services/web/dstPort/443", "- services/web/srcPort/1024",
                          "- services/web/protocol/6", "- services/web/protocol/17-18",
                          "+ services/web/protocol/6", "+ services/web/protocol/17-18",
                          "- services/web/srcIpPrefix/10.0.0.0%2F8",
                          "- services/web/srcIpPrefix/2001:db8::%2F32",
                          "- services/web/dstIpPrefix/192.0.2.0%2F24", "~ services/web/version = 2",
                          "~ updateInProgress = false"));
}

TEST_F(AppProfileTest, MissingFieldSetsAreEmptied) {
  for (const bool withoutContents : {false, true}) {
    fill("web");
    compile("web");
    for (const char* name : {"dst", "src"}) {
      lone.fieldSets->fieldSetL4PortDel(name);
      if (withoutContents) lone.fieldSets->fieldSetL4PortIs(name);
    }
    for (const char* name : {"from", "to"}) {
      lone.fieldSets->fieldSetIpPrefixDel(name);
      if (withoutContents) lone.fieldSets->fieldSetIpPrefixIs(name);
    }
    compile("web");
    const auto left = service("web");
    EXPECT_TRUE(left->dstPort().empty() && left->srcPort().empty());
    EXPECT_TRUE(left->srcIpPrefix().empty() && left->dstIpPrefix().empty());
    EXPECT_FALSE(left->protocol().empty());
  }
}

TEST_F(AppProfileTest, FieldSetUnderTheEmptyNameIsNoFieldSet) {
  ports("", {{80, 80}});
  prefixes("", {"10.0.0.0/8"});
  app("web")->protoIs({6, 6});
  compile("web");
  EXPECT_TRUE(service("web")->dstPort().empty() && service("web")->srcPort().empty());
  EXPECT_TRUE(service("web")->srcIpPrefix().empty() && service("web")->dstIpPrefix().empty());
}

TEST_F(AppProfileTest, DroppedPrefixesGoAndTheOthersStay) {
  fill("web");
  compile("web");
  prefixes("from", {"10.0.0.0/16", "2001:db8::/32"});
  recorder.take();
  compile("web");
  const auto lines = recorder.takeBelow("services/web/srcIpPrefix");
  EXPECT_THAT(lines, ElementsAre("- services/web/srcIpPrefix/10.0.0.0%2F8",
                                 "+ services/web/srcIpPrefix/10.0.0.0%2F16"));
}

TEST_F(AppProfileTest, CompilationIsTraced) {
  const auto made = app("web");
  made->protoIs({6, 17});
  made->dstPortFieldSetIs("dst");
  made->srcPortFieldSetIs("src");
  made->srcPrefixFieldSetIs("from");
  made->dstPrefixFieldSetIs("to");
  ports("dst", {{80, 81}});
  ports("src", {{5, 5}});
  prefixes("from", {"10.0.0.0/8"});
  prefixes("to", {"192.0.2.0/24"});
  const auto ofProfile = [](const TraceCapture& traces) {
    std::vector<std::string> texts;
    for (const auto& record : traces.records()) {
      if (record.function != "handleVersionForAppProfile") continue;
      EXPECT_EQ(record.facility, module);
      texts.push_back(std::to_string(record.level) + record.text);
    }
    return texts;
  };
  {
    const TraceCapture traces;
    compile("web");
    EXPECT_THAT(
        ofProfile(traces),
        ElementsAre("8 appName web", "8 Adding service config for appName web",
                    "8 Adding proto ranges ", "8:6-17", "8 Adding dstPortFieldSet dst",
                    "8 Adding dstPort range:80-81", "8 Added dstPort sub range: start 80 end 81",
                    "8 Adding srcPortFieldSet src", "8 Adding srcPort range :5",
                    "8 Added srcPort sub range: start 5 end 5"));
  }
  ports("dst", {{81, 81}});
  ports("src", {{5, 6}});
  prefixes("from", {"10.0.0.0/9"});
  prefixes("to", {"192.0.2.0/24"});
  lone.capability->portRangeBlocksRequiredIs(true);
  {
    const TraceCapture traces;
    compile("web");
    EXPECT_THAT(
        ofProfile(traces),
        ElementsAre(
            "8 appName web", "3Evaluating dport sub range80-81", "3Removing dport sub range 80-81",
            "3Evaluating sport sub range5", "3Evaluating sip 10.0.0.0/8", "3Removed sip 10.0.0.0/8",
            "3Evaluating dip 192.0.2.0/24", "8 Adding service config for appName web",
            "8 Adding proto ranges ", "8:6-17", "8 Adding dstPortFieldSet dst",
            "8 Adding dstPort range:81", "8 Added dstPort sub range: low 81 high 81",
            "8 Adding srcPortFieldSet src", "8 Adding srcPort range :5-6",
            "8 Added srcPort sub range: low 5 high 5", "8 Added srcPort sub range: low 6 high 6"));
  }
  ports("src", {});
  prefixes("to", {});
  {
    const TraceCapture traces(3);
    compile("web");
    EXPECT_THAT(ofProfile(traces),
                ElementsAre("3Evaluating dport sub range81", "3Evaluating sport sub range5",
                            "3Removing sport sub range 5", "3Evaluating sport sub range6",
                            "3Removing sport sub range 6", "3Evaluating sip 10.0.0.0/9",
                            "3Evaluating dip 192.0.2.0/24", "3Removed dip 192.0.2.0/24"));
  }
}

TEST_F(AppProfileTest, FieldSetsAreTracedUnderTheNamesThatTheProfileGives) {
  app("web")->dstPortFieldSetIs("dst");
  app("web")->srcPortFieldSetIs("src");
  lone.fieldSets->fieldSetL4PortIs("dst")->subConfigIs("contents");
  lone.fieldSets->fieldSetL4PortIs("src")->subConfigIs("contents");
  const TraceCapture traces;
  compile("web");
  EXPECT_TRUE(traces.saw(8, "handleVersionForAppProfile", " Adding dstPortFieldSet dst"));
  EXPECT_TRUE(traces.saw(8, "handleVersionForAppProfile", " Adding srcPortFieldSet src"));
}

TEST_F(AppProfileTest, GoneProfileTracesItsNameAlone) {
  const TraceCapture traces;
  lone.sm->handleVersionForAppProfile("web");
  EXPECT_EQ(traces.records().front(),
            (TraceRecord{module, 8, "handleVersionForAppProfile", " appName web"}));
  EXPECT_EQ(traces.count(7, "handleVersionForAppProfile", " return"), 0U);
}

TEST_F(AppProfileTest, ProtocolRangeTheWrongWayRoundIsARangeError) {
  fill("web");
  compile("web");
  app("web")->protoIs({9, 5});
  try {
    compile("web");
    FAIL() << "no range error";
  } catch (const Pith::RangeException& error) {
    EXPECT_STREQ(error.what(), "Firewall::ProtocolRange::start > _end not allowed");
  }
  // As far as it had come: the protocols before the bad one.
  EXPECT_THAT(membersOf(service("web")->protocol()), ElementsAre("6", "17-18"));
  EXPECT_EQ(service("web")->version(), 1U);
  EXPECT_FALSE(lone.hwConfig->updateInProgress());
  app("web")->protoDel({9, 5});
  compile("web");
  EXPECT_EQ(service("web")->version(), 2U);
}

TEST_F(AppProfileTest, PortRangeTheWrongWayRoundIsARangeErrorInBlocksToo) {
  for (const bool asBlocks : {false, true}) {
    lone.capability->portRangeBlocksRequiredIs(asBlocks);
    const char* const name = asBlocks ? "blocks" : "ranges";
    app(name)->protoIs({6, 6});
    app(name)->dstPortFieldSetIs("bad");
    app(name)->srcPrefixFieldSetIs("from");
    prefixes("from", {"10.0.0.0/8"});
    ports("bad", {{80, 80}, {443, 442}, {1000, 1000}});
    try {
      compile(name);
      FAIL() << "no range error";
    } catch (const Pith::RangeException& error) {
      EXPECT_STREQ(error.what(), "Firewall::PortRange::start > _end not allowed");
    }
    EXPECT_THAT(portsOf(service(name)->dstPort()), ElementsAre("80"));
    EXPECT_TRUE(service(name)->srcIpPrefix().empty());
    EXPECT_EQ(service(name)->version(), 0U);
    EXPECT_FALSE(lone.hwConfig->updateInProgress());
    ports("bad", {{442, 443}});
    compile(name);
    EXPECT_THAT(portsOf(service(name)->dstPort()), ElementsAre("442-443"));
    EXPECT_EQ(service(name)->version(), 1U);
  }
}

TEST_F(AppProfileTest, RemovalIsCompletedThoughASubscriberThrows) {
  fill("web");
  compile("web");
  const Reaction reaction(*service("web"), [](Pith::FieldId, const void*, const Pith::Change&) {
    throw std::runtime_error("subscriber");
  });
  EXPECT_THROW(lone.versions->versionForAppProfileIs("web", 0U), std::runtime_error);
  EXPECT_FALSE(service("web"));
  EXPECT_FALSE(lone.hwConfig->updateInProgress());
}

TEST_F(AppProfileTest, AfterCleanupNothingIsCompiled) {
  fill("web");
  lone.sm->cleanup();
  recorder.take();
  compile("web");
  EXPECT_THAT(recorder.take(), IsEmpty());
}

TEST_F(AppProfileTest, SuppressedReactorIgnoresVersionsAndCompilesTheNext) {
  fill("web");
  lone.sm->kivDoZombieReactors(true);
  compile("web");
  EXPECT_FALSE(service("web"));
  lone.sm->kivDoZombieReactors(false);
  EXPECT_FALSE(service("web"));
  compile("web");
  EXPECT_EQ(service("web")->version(), 1U);
}

TEST_F(AppProfileTest, ServiceThatLeavesWhileItIsCompiledStaysAway) {
  fill("web");
  compile("web");
  const Reaction reaction(*service("web"), [&](Pith::FieldId, const void*, const Pith::Change&) {
    lone.hwConfig->servicesDel("web");
  });
  compile("web");
  EXPECT_FALSE(service("web"));
}

TEST_F(AppProfileTest, FieldSetsThatChangeWhileTheyAreCompiledAreFollowed) {
  fill("web");
  bool done = false;
  const Reaction reaction(
      *lone.hwConfig, [&](Pith::FieldId field, const void*, const Pith::Change&) {
        if (field != Firewall::HwConfig::servicesField || std::exchange(done, true)) return;
        ports("dst", {{53, 53}});
        prefixes("to", {});
        app("web")->protoDel({6, 6});
      });
  compile("web");
  EXPECT_THAT(portsOf(service("web")->dstPort()), ElementsAre("53"));
  EXPECT_THAT(membersOf(service("web")->protocol()), ElementsAre("17-18"));
  EXPECT_TRUE(service("web")->dstIpPrefix().empty());
}

// With the sibling that writes the versions, over a whole switch.
class AppProfileSwitchTest : public TestSupport::RulesFixture {};

TEST_F(AppProfileSwitchTest, ApplicationsAreCompiledWhenTheyChangeAndTheRulesFollow) {
  config().policyIs("p")->ruleIs(5U, Pith::String("web"), Firewall::Action::forward);
  sw().application("web", 6, "80-81");
  EXPECT_THAT(lines("p"), ElementsAre("5/1 unset > unset 6 80-81 < 0-65535 forward"));
  sw().application("web", 17, "53", "10.0.0.0/8");
  EXPECT_THAT(lines("p"), ElementsAre("5/1 10.0.0.0/8 > unset 17 53 < 0-65535 forward"));
  EXPECT_TRUE(sw().firewallStatus->serviceHas("web"));
  sw().appRecConfig->appDel("web");
  EXPECT_THAT(lines("p"), IsEmpty());
  EXPECT_FALSE(sw().hwConfig->servicesHas("web"));
  EXPECT_FALSE(sw().firewallStatus->serviceHas("web"));
}

TEST_F(AppProfileSwitchTest, RangeErrorReachesWhoeverPublishesTheRangeAndTheRulesStay) {
  config().policyIs("p")->ruleIs(5U, Pith::String("web"), Firewall::Action::forward);
  sw().application("web", 6, "80-81");
  const auto before = lines("p");
  const auto web = sw().appRecConfig->app("web");
  EXPECT_THROW(web->protoIs({9, 5}), Pith::RangeException);
  EXPECT_EQ(lines("p"), before);
  web->protoDel({9, 5});
  EXPECT_EQ(lines("p"), before);
  web->protoIs({17, 17});
  EXPECT_EQ(lines("p").size(), 2U);
}

}  // namespace
