// The functions that write and remove the links of segments, on objects made by hand.
#include "Firewall/ConfigSources.h"
#include "Firewall/Segments/SegmentLinks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "model/Acl/PrefixList.h"
#include "tests/Firewall/RulesSupport.h"
#include "tests/support/TraceCapture.h"
#include "tests/support/WriteRecorder.h"

namespace {

using Firewall::Config;
using Firewall::FwSegment;
using Firewall::FwVrf;
using Firewall::HwConfig;
using Firewall::Segment;
using Firewall::Vrf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::module;
using TestSupport::Reaction;
using TestSupport::TraceCapture;
using TestSupport::TraceRecord;

class SegmentLinksTest : public ::testing::Test {
 protected:
  // An input segment; with its output unless told otherwise.
  Segment::Ptr segment(const char* name, bool withOutput = true) {
    if (withOutput) fwVrf->segmentIs(name);
    return vrf->segmentIs(name);
  }
  FwSegment::Ptr out(const char* name) { return fwVrf->segment(name); }
  void add(const char* from, const char* policy) {
    Firewall::addInterFromSegAndFbPolicyAll(vrf, hwConfig, fwVrf, from, policy);
  }
  void remove(const char* from, const char* policy) {
    Firewall::deleteInterFromSegAndFbPolicyAll(vrf, hwConfig, fwVrf, from, policy);
  }

  HwConfig::Ptr hwConfig = Kiv::make<HwConfig>();
  Vrf::Ptr vrf = Kiv::make<Vrf>(L3::VrfName("red"));
  FwVrf::Ptr fwVrf = hwConfig->vrfIs("red");
  TestSupport::WriteRecorder recorder{hwConfig};
};

TEST_F(SegmentLinksTest, LinksFromASegmentAreAskedForOnceAndNoOthers) {
  segment("a");
  const auto b = segment("b");
  hwConfig->policyIs("web");
  b->policyIs("a", "web");
  b->policyIs("c", "");
  const TraceCapture traces;
  add("a", "");
  EXPECT_EQ(std::ranges::count_if(traces.records(),
                                  [](const TraceRecord& record) {
                                    return record.level == 8 &&
                                           record.function == "addInterimFromSegment";
                                  }),
            1);
  EXPECT_TRUE(out("b")->fromSegmentHas("a"));
}

TEST_F(SegmentLinksTest, FallbackPolicyIsTheOneInTheOutput) {
  segment("a");
  const auto policy = hwConfig->policyIs("web");
  const TraceCapture traces;
  Firewall::addFallbackPolicy(hwConfig, out("a"), "web");
  EXPECT_EQ(out("a")->fallbackPolicy(), policy);
  Firewall::deleteFallbackPolicy(out("a"));
  EXPECT_FALSE(out("a")->fallbackPolicy());
  EXPECT_THAT(traces.records(), ElementsAre(TraceRecord{module, 8, "addFallbackPolicy", ": web"},
                                            TraceRecord{module, 8, "deleteFallbackPolicy", ": a"}));
}

TEST_F(SegmentLinksTest, UnknownFallbackPolicyUnsetsRatherThanLeaves) {
  segment("a");
  hwConfig->policyIs("web");
  for (const char* unknown : {"unknown", ""}) {
    Firewall::addFallbackPolicy(hwConfig, out("a"), "web");
    EXPECT_TRUE(out("a")->fallbackPolicy());
    Firewall::addFallbackPolicy(hwConfig, out("a"), unknown);
    EXPECT_FALSE(out("a")->fallbackPolicy());
  }
}

TEST_F(SegmentLinksTest, EmptyNameIsNoPolicyEvenWhenTheOutputHasOne) {
  const auto a = segment("a");
  segment("b");
  hwConfig->policyIs("");
  Firewall::addFallbackPolicy(hwConfig, out("a"), "");
  EXPECT_FALSE(out("a")->fallbackPolicy());
  a->policyIs("b", "");
  Firewall::addInterimFromSegment(a, hwConfig, fwVrf, out("a"), "b");
  EXPECT_TRUE(out("a")->fromSegment().empty());
}

TEST_F(SegmentLinksTest, LinkIsWrittenWhenBothEndsAreThere) {
  const auto a = segment("a");
  segment("b");
  const auto policy = hwConfig->policyIs("web");
  a->policyIs("b", "web");
  const TraceCapture traces;
  Firewall::addInterimFromSegment(a, hwConfig, fwVrf, out("a"), "b");
  const Firewall::FwFromSegment expected{out("b"), policy};
  ASSERT_NE(out("a")->fromSegment("b"), nullptr);
  EXPECT_EQ(*out("a")->fromSegment("b"), expected);
  EXPECT_THAT(traces.records(),
              ElementsAre(TraceRecord{module, 8, "addInterimFromSegment", ": a, b"},
                          TraceRecord{module, 6, "addInterimFromSegment",
                                      "Add segment entry:a fromb policyweb"},
                          TraceRecord{module, 7, "addInterimFromSegment", " return"}));
}

TEST_F(SegmentLinksTest, LinkWithAMissingEndIsLeftOut) {
  const auto a = segment("a");
  segment("b");
  hwConfig->policyIs("web");
  a->policyIs("b", "unknown");
  a->policyIs("nowhere", "web");
  const std::pair<const char*, const char*> cases[] = {
      {"b", "b, unknown"}, {"nowhere", "nowhere, web"}, {"not named", "not named, "}};
  for (const auto& [from, names] : cases) {
    const TraceCapture traces(7);
    Firewall::addInterimFromSegment(a, hwConfig, fwVrf, out("a"), from);
    EXPECT_THAT(
        traces.records(),
        ElementsAre(TraceRecord{module, 7, "addInterimFromSegment",
                                std::string("FromSegment or Policy is not available:") + names},
                    TraceRecord{module, 7, "addInterimFromSegment", " return"}));
  }
  EXPECT_TRUE(out("a")->fromSegment().empty());
}

TEST_F(SegmentLinksTest, MissingEndLeavesALinkThatIsThere) {
  const auto a = segment("a");
  segment("b");
  hwConfig->policyIs("web");
  a->policyIs("b", "web");
  Firewall::addInterimFromSegment(a, hwConfig, fwVrf, out("a"), "b");
  a->policyIs("b", "unknown");
  Firewall::addInterimFromSegment(a, hwConfig, fwVrf, out("a"), "b");
  EXPECT_TRUE(out("a")->fromSegmentHas("b"));
}

TEST_F(SegmentLinksTest, LinkIsDeletedAndTheMissingOneIsTraced) {
  const auto a = segment("a");
  segment("b");
  hwConfig->policyIs("web");
  a->policyIs("b", "web");
  Firewall::addInterimFromSegment(a, hwConfig, fwVrf, out("a"), "b");
  const TraceCapture traces;
  Firewall::deleteInterimFromSegment(fwVrf, out("a"), "b");
  EXPECT_TRUE(out("a")->fromSegment().empty());
  Firewall::deleteInterimFromSegment(fwVrf, out("a"), "b");
  EXPECT_THAT(traces.records(),
              ElementsAre(TraceRecord{module, 8, "deleteInterimFromSegment", " fromSegment:b"},
                          TraceRecord{module, 6, "deleteInterimFromSegment",
                                      "Delete segment entry:a fromb policyweb"},
                          TraceRecord{module, 8, "deleteInterimFromSegment", " fromSegment:b"},
                          TraceRecord{module, 7, "deleteInterimFromSegment", " return"}));
}

TEST_F(SegmentLinksTest, SegmentIsConfiguredWhenAnySourceHasItInTheVrf) {
  const auto dir = Kiv::make<Kiv::Dir>();
  dir->newEntity<Acl::AclListConfig>("other");
  dir->newEntity<Config>("empty");
  dir->newEntity<Config>("cli")->vrfIs("red")->segmentIs("a");
  dir->newEntity<Config>("api")->vrfIs("red")->segmentIs("a");
  const TraceCapture traces(7);
  EXPECT_TRUE(Firewall::isSegmentConfigured(dir, "red", "a"));
  EXPECT_FALSE(Firewall::isSegmentConfigured(dir, "red", "b"));
  EXPECT_FALSE(Firewall::isSegmentConfigured(dir, "blue", "a"));
  EXPECT_THAT(traces.records(),
              ElementsAre(TraceRecord{module, 7, "isSegmentConfigured",
                                      " Source:cli has segment:a configured in vrf:red"}));
}

TEST_F(SegmentLinksTest, SegmentOfTheL2DirectoryIsNeverLookedUp) {
  const auto dir = Kiv::make<Kiv::Dir>();
  const auto config = dir->newEntity<Config>("cli");
  config->l2SegmentDirIs("")->segmentIs("a");
  config->vrfIs("")->segmentIs("a");
  EXPECT_FALSE(Firewall::isSegmentConfigured(dir, "", "a"));
}

TEST_F(SegmentLinksTest, NewSegmentIsLinkedToThoseThatNameIt) {
  for (const char* name : {"c", "a"}) {
    const auto made = segment(name);
    made->policyIs("b", "web");
    made->policyIs("other", "web");
    made->fallbackPolicyIs("web");
  }
  segment("without output", false)->policyIs("b", "web");
  segment("d")->policyIs("c", "web");
  segment("b");
  hwConfig->policyIs("web");
  recorder.take();
  add("b", "");
  EXPECT_THAT(recorder.take(),
              ElementsAre("+ vrf/red/segment/c/fromSegment/b = segment=@b,policy=@web",
                          "+ vrf/red/segment/a/fromSegment/b = segment=@b,policy=@web"));
  remove("b", "");
  EXPECT_THAT(recorder.take(), ElementsAre("- vrf/red/segment/c/fromSegment/b",
                                           "- vrf/red/segment/a/fromSegment/b"));
}

TEST_F(SegmentLinksTest, NewPolicyIsLinkedAsFallbackFirstAndUnlinkedLast) {
  for (const char* name : {"c", "a"}) {
    const auto made = segment(name);
    for (const char* from : {"z", "y", "x"}) made->policyIs(from, "web");
    made->policyIs("w", "other");
    made->fallbackPolicyIs("web");
  }
  segment("e")->fallbackPolicyIs("other");
  for (const char* name : {"x", "y", "z", "w"}) segment(name);
  hwConfig->policyIs("web");
  hwConfig->policyIs("other");
  recorder.take();
  add("", "web");
  EXPECT_THAT(recorder.take(),
              ElementsAre("~ vrf/red/segment/c/fallbackPolicy = @web",
                          "+ vrf/red/segment/c/fromSegment/x = segment=@x,policy=@web",
                          "+ vrf/red/segment/c/fromSegment/y = segment=@y,policy=@web",
                          "+ vrf/red/segment/c/fromSegment/z = segment=@z,policy=@web",
                          "~ vrf/red/segment/a/fallbackPolicy = @web",
                          "+ vrf/red/segment/a/fromSegment/x = segment=@x,policy=@web",
                          "+ vrf/red/segment/a/fromSegment/y = segment=@y,policy=@web",
                          "+ vrf/red/segment/a/fromSegment/z = segment=@z,policy=@web"));
  remove("", "web");
  EXPECT_THAT(
      recorder.take(),
      ElementsAre("- vrf/red/segment/c/fromSegment/x", "- vrf/red/segment/c/fromSegment/y",
                  "- vrf/red/segment/c/fromSegment/z", "~ vrf/red/segment/c/fallbackPolicy = ",
                  "- vrf/red/segment/a/fromSegment/x", "- vrf/red/segment/a/fromSegment/y",
                  "- vrf/red/segment/a/fromSegment/z", "~ vrf/red/segment/a/fallbackPolicy = "));
}

TEST_F(SegmentLinksTest, BothNamesTogetherMatchEither) {
  const auto c = segment("c");
  c->policyIs("b", "other");
  c->policyIs("x", "web");
  c->policyIs("y", "other");
  segment("a")->policyIs("b", "other");
  for (const char* name : {"b", "x", "y"}) segment(name);
  hwConfig->policyIs("web");
  hwConfig->policyIs("other");
  recorder.take();
  add("b", "web");
  EXPECT_THAT(recorder.take(),
              ElementsAre("+ vrf/red/segment/c/fromSegment/b = segment=@b,policy=@other",
                          "+ vrf/red/segment/c/fromSegment/x = segment=@x,policy=@web",
                          "+ vrf/red/segment/a/fromSegment/b = segment=@b,policy=@other"));
}

TEST_F(SegmentLinksTest, EmptyNamesMatchNothing) {
  const auto a = segment("a");
  segment("");
  hwConfig->policyIs("");
  hwConfig->policyIs("web");
  a->policyIs("", "web");
  a->policyIs("b", "");
  a->fallbackPolicyIs("web");
  Firewall::addFallbackPolicy(hwConfig, out("a"), "web");
  recorder.take();
  add("", "");
  remove("", "");
  EXPECT_THAT(recorder.take(), IsEmpty());
  EXPECT_TRUE(out("a")->fallbackPolicy());
}

TEST_F(SegmentLinksTest, SegmentThatNamesItselfIsLinkedToItself) {
  segment("a")->policyIs("a", "web");
  hwConfig->policyIs("web");
  add("a", "");
  EXPECT_EQ(out("a")->fromSegment("a")->segment, out("a"));
  remove("a", "");
}

TEST_F(SegmentLinksTest, SegmentsThatChangeMeanwhileAreFollowed) {
  for (const char* name : {"a", "b", "c"}) segment(name)->policyIs("x", "web");
  segment("x");
  hwConfig->policyIs("web");
  const auto a = out("a");
  const Reaction reaction(*a, [this](Pith::FieldId, const void*, const Pith::Change&) {
    vrf->segmentDel("b");
    segment("d")->policyIs("x", "web");
  });
  recorder.take();
  add("", "web");
  EXPECT_FALSE(out("b")->fromSegmentHas("x"));
  for (const char* name : {"a", "c", "d"}) EXPECT_TRUE(out(name)->fromSegmentHas("x")) << name;
}

TEST_F(SegmentLinksTest, EveryLinkIsRemovedThoughASubscriberThrows) {
  for (const char* name : {"a", "b"}) {
    segment(name)->policyIs("x", "web");
    vrf->segment(name)->fallbackPolicyIs("web");
  }
  segment("x");
  hwConfig->policyIs("web");
  add("", "web");
  const Reaction reaction(*out("a"), [](Pith::FieldId, const void*, const Pith::Change&) {
    throw std::runtime_error("subscriber");
  });
  EXPECT_THROW(remove("", "web"), std::runtime_error);
  for (const char* name : {"a", "b"}) {
    EXPECT_TRUE(out(name)->fromSegment().empty());
    EXPECT_FALSE(out(name)->fallbackPolicy());
  }
}

TEST_F(SegmentLinksTest, EntriesAreTraced) {
  const TraceCapture traces;
  add("b", "");
  remove("", "web");
  EXPECT_THAT(traces.records(),
              ElementsAre(TraceRecord{module, 8, "addInterFromSegAndFbPolicyAll", ": b, "},
                          TraceRecord{module, 8, "deleteInterFromSegAndFbPolicyAll", ": , web"}));
}

}  // namespace
