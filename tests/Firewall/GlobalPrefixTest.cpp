// The global prefixes of a VRF: which segment the VRF-wide list gives them to.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "Firewall/Segments/VrfSm.h"
#include "tests/Firewall/PathFixture.h"
#include "tests/support/TraceCapture.h"

namespace {

using Firewall::ListSource;
using Lanx::IpGenPrefix;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::SwitchTest;
using TestSupport::TraceCapture;

// VRF "red" of the enabled source "cli", with the match-list path "lists".
class GlobalPrefixTest : public SwitchTest {
 protected:
  void SetUp() override {
    SwitchTest::SetUp();
    sw().hwCapability->globalPrefixListSupportedIs(true);
    sw().ipStatus->vrfIs("red");
    sw().matchLists("lists");
    vrf();
    sw().source("cli")->enabledIs(true);
  }
  Firewall::Vrf::Ptr vrf(const std::string& source = "cli") {
    return sw().source(source)->vrfIs("red");
  }
  Firewall::VrfSm::Ptr vrfSm(const std::string& source = "cli") {
    return sw().rootSm(source)->vrfSm("red");
  }
  Firewall::FwVrf::Ptr fwVrf() { return sw().hwConfig->vrf("red"); }

  // A segment whose own match list, of its name, has the subnets.
  void segment(const std::string& name, const std::vector<std::string>& subnets = {}) {
    const auto list = sw().matchLists("lists")->matchIpv4PrefixListIs(name);
    for (const std::string& subnet : subnets) list->subnetsIs(Lanx::IpAddrWithMask::parse(subnet));
    vrf()->segmentIs(name)->prefixIpv4MlIs(ListSource::matchList(name));
  }
  void global(const std::string& prefix, const std::string& name,
              const std::string& source = "cli") {
    vrf(source)->prefixIs(IpGenPrefix::parse(prefix), name);
  }
  std::string owner(const std::string& prefix) {
    const Pith::String* const name = fwVrf()->prefixList(IpGenPrefix::parse(prefix));
    return name == nullptr ? "" : std::string(name->view());
  }

  const IpGenPrefix ten_ = IpGenPrefix::parse("10.0.0.0/8");
};

constexpr auto processName = "processGlobalPrefix";
constexpr auto updateName = "updateOrRemoveGlobalPrefix";
constexpr auto updateText =
    " Prefix is also configured in MatchList of segment: a. Updaing segment of prefix";
constexpr auto removeText = " Removing as prefix is not configured from MatchList.";

TEST_F(GlobalPrefixTest, AGlobalPrefixGoesToItsConfiguredSegment) {
  segment("a");
  sw().start();
  sw().recorder.take();
  const TraceCapture traces(8, "Firewall/*");
  global("10.0.0.0/8", "a");
  EXPECT_THAT(sw().recorder.take(), ElementsAre("+ vrf/red/prefixList/10.0.0.0%2F8 = a"));
  EXPECT_TRUE(traces.saw(8, "handleGlobalPrefix", " Vrf: red prefix: 10.0.0.0/8"));
  EXPECT_TRUE(traces.saw(8, processName, " Vrf: red prefix: 10.0.0.0/8"));
  EXPECT_TRUE(traces.saw(7, processName, " Adding prefix: 10.0.0.0/8 to segment: a"));
}

TEST_F(GlobalPrefixTest, AGlobalPrefixWinsOverTheMatchListsAndGoesBackWhenItIsRemoved) {
  segment("a", {"10.0.0.0/8"});
  segment("b");
  sw().start();
  EXPECT_EQ(owner("10.0.0.0/8"), "a");
  global("10.0.0.0/8", "b");
  EXPECT_EQ(owner("10.0.0.0/8"), "b");
  const TraceCapture traces(8, "Firewall/*");
  vrf()->prefixDel(ten_);
  EXPECT_EQ(owner("10.0.0.0/8"), "a");
  EXPECT_TRUE(traces.saw(7, processName, " Removing prefix: 10.0.0.0/8"));
  EXPECT_TRUE(traces.saw(8, updateName, updateText));
}

TEST_F(GlobalPrefixTest, ARemovedGlobalPrefixThatNoListHoldsLeaves) {
  segment("b");
  global("10.0.0.0/8", "b");
  sw().start();
  EXPECT_EQ(owner("10.0.0.0/8"), "b");
  const TraceCapture traces(8, "Firewall/*");
  vrf()->prefixDel(ten_);
  EXPECT_EQ(owner("10.0.0.0/8"), "");
  EXPECT_TRUE(traces.saw(6, updateName, removeText));
}

TEST_F(GlobalPrefixTest, AGlobalPrefixOfASegmentThatIsNotConfiguredFallsToTheMatchLists) {
  segment("a", {"10.0.0.0/8"});
  sw().start();
  const TraceCapture traces(8, "Firewall/*");
  global("10.0.0.0/8", "nowhere");
  EXPECT_EQ(owner("10.0.0.0/8"), "a");
  EXPECT_TRUE(traces.saw(8, updateName, updateText));
  global("11.0.0.0/8", "nowhere");
  EXPECT_EQ(owner("11.0.0.0/8"), "");
  EXPECT_TRUE(traces.saw(6, updateName, removeText));
  EXPECT_EQ(traces.count(7, processName, " Removing prefix: 10.0.0.0/8"), 0U);
}

TEST_F(GlobalPrefixTest, AGlobalPrefixThatNamesAnotherSegmentMoves) {
  segment("a");
  segment("b");
  global("10.0.0.0/8", "a");
  sw().start();
  global("10.0.0.0/8", "b");
  EXPECT_EQ(owner("10.0.0.0/8"), "b");
}

TEST_F(GlobalPrefixTest, AnAddedSegmentGetsThePrefixesThatNameItInEverySource) {
  global("10.0.0.0/8", "a");
  global("11.0.0.0/8", "b");
  global("12.0.0.0/8", "a", "cloud");
  sw().start();
  EXPECT_TRUE(fwVrf()->prefixList().empty() || owner("10.0.0.0/8") == "a");
  const TraceCapture traces(8, "Firewall/*");
  vrf()->segmentIs("a");
  EXPECT_EQ(owner("10.0.0.0/8"), "a");
  EXPECT_EQ(owner("12.0.0.0/8"), "a");
  EXPECT_TRUE(traces.saw(8, "processGlobalPrefixesForSegment", " segment: a"));
  EXPECT_TRUE(traces.saw(5, "processGlobalPrefixesForSegment",
                         " Processing global list of segment: a Vrf: red source: cli"));
  EXPECT_EQ(traces.count(7, processName, " Adding prefix: 11.0.0.0/8 to segment: b"), 0U);
}

TEST_F(GlobalPrefixTest, ARemovedSegmentLosesItsGlobalPrefixes) {
  segment("a");
  segment("b", {"10.0.0.0/8"});
  global("10.0.0.0/8", "a");
  global("11.0.0.0/8", "a");
  sw().start();
  EXPECT_EQ(owner("10.0.0.0/8"), "a");
  vrf()->segmentDel("a");
  EXPECT_EQ(owner("10.0.0.0/8"), "b");
  EXPECT_EQ(owner("11.0.0.0/8"), "");
}

TEST_F(GlobalPrefixTest, PrefixesOfASegmentAreProcessedInTheirOrderInTheVrf) {
  for (const char* prefix : {"12.0.0.0/8", "10.0.0.0/8", "11.0.0.0/8"}) global(prefix, "a");
  global("10.0.0.0/8", "b");
  global("10.0.0.0/8", "a");
  sw().start();
  fwVrf()->prefixListDelAll();
  sw().recorder.take();
  vrf()->segmentIs("a");
  EXPECT_THAT(
      sw().recorder.takeBelow("vrf/red/prefixList"),
      ElementsAre("+ vrf/red/prefixList/12.0.0.0%2F8 = a", "+ vrf/red/prefixList/10.0.0.0%2F8 = a",
                  "+ vrf/red/prefixList/11.0.0.0%2F8 = a"));
}

TEST_F(GlobalPrefixTest, WithoutTheCapabilityNothingIsWritten) {
  sw().hwCapability->globalPrefixListSupportedIs(false);
  segment("a", {"10.0.0.0/8"});
  sw().start();
  fwVrf()->prefixListDelAll();
  const TraceCapture traces(8, "Firewall/*");
  global("10.0.0.0/8", "a");
  vrfSm()->processGlobalPrefix(vrf(), true, ten_);
  vrf()->prefixDel(ten_);
  EXPECT_TRUE(fwVrf()->prefixList().empty());
  EXPECT_EQ(traces.count(8, "handleGlobalPrefix", " Vrf: red prefix: 10.0.0.0/8"), 2U);
  EXPECT_EQ(traces.count(8, processName, " Vrf: red prefix: 10.0.0.0/8"), 1U);
  EXPECT_TRUE(fwVrf()->segment("a")->subnetsHas(ten_));
}

TEST_F(GlobalPrefixTest, ProcessTakesTheSegmentFromTheVrfThatItIsGiven) {
  segment("a");
  segment("b");
  global("10.0.0.0/8", "a");
  global("10.0.0.0/8", "b", "cloud");
  sw().start();
  vrfSm()->processGlobalPrefix(vrf("cloud"), true, ten_);
  EXPECT_EQ(owner("10.0.0.0/8"), "b");
  vrfSm()->processGlobalPrefix(vrf(), true, ten_);
  EXPECT_EQ(owner("10.0.0.0/8"), "a");
  // Called as configured, but not there; and as not configured, but there.
  vrfSm()->processGlobalPrefix(vrf(), true, IpGenPrefix::parse("11.0.0.0/8"));
  EXPECT_EQ(owner("11.0.0.0/8"), "");
  vrfSm()->processGlobalPrefix(vrf(), false, ten_);
  EXPECT_EQ(owner("10.0.0.0/8"), "");
}

TEST_F(GlobalPrefixTest, UpdateAsksTheOutputForTheSegment) {
  sw().start();
  vrf()->segmentIs("a");
  fwVrf()->segmentDel("a");
  fwVrf()->prefixListIs(ten_, "x");
  vrfSm()->updateOrRemoveGlobalPrefix(ten_, "a");
  EXPECT_EQ(owner("10.0.0.0/8"), "");
  fwVrf()->segmentIs("only in the output");
  vrfSm()->updateOrRemoveGlobalPrefix(ten_, "only in the output");
  EXPECT_EQ(owner("10.0.0.0/8"), "only in the output");
  vrfSm()->updateOrRemoveGlobalPrefix(ten_, "");
  EXPECT_EQ(owner("10.0.0.0/8"), "");
}

TEST_F(GlobalPrefixTest, TheMatchListSegmentIsTheFirstByNameThatHoldsThePrefix) {
  segment("c", {"10.0.0.0/8"});
  segment("b", {"10.0.0.0/8", "11.0.0.1/8"});
  sw().start();
  EXPECT_EQ(vrfSm()->getSegmentForMatchListPrefix(ten_), "b");
  EXPECT_EQ(vrfSm()->getSegmentForMatchListPrefix(IpGenPrefix::parse("11.0.0.0/8")), "");
  EXPECT_EQ(vrfSm()->getSegmentForMatchListPrefix(IpGenPrefix::parse("12.0.0.0/8")), "");
}

TEST_F(GlobalPrefixTest, TheGlobalSegmentIsThatOfTheFirstEnabledSource) {
  global("10.0.0.0/8", "z", "disabled");
  sw().source("without VRF")->enabledIs(true);
  sw().start();
  EXPECT_EQ(vrfSm()->getGlobalPrefixSegment(ten_), "");
  global("10.0.0.0/8", "b", "cloud");
  sw().source("cloud")->enabledIs(true);
  EXPECT_EQ(vrfSm()->getGlobalPrefixSegment(ten_), "b");
  global("10.0.0.0/8", "a");
  EXPECT_EQ(vrfSm()->getGlobalPrefixSegment(ten_), "a");
}

// The first source with the prefix gives it to no segment, so that it is the lists'; when a VRF
// starts, the next source that names a segment has it.
TEST_F(GlobalPrefixTest, APrefixThatASourceGivesToNoSegmentIsTheListsUntilAVrfStarts) {
  segment("a");
  segment("b");
  sw().source("api")->vrfIs("red")->prefixIs(ten_, "b");
  sw().source("zed")->vrfIs("red");
  sw().start();
  fwVrf()->segment("a")->subnetsIs(Lanx::IpGenAddrWithMask(ten_), true);
  sw().source("api")->enabledIs(true);
  EXPECT_EQ(owner("10.0.0.0/8"), "b");
  global("10.0.0.0/8", "");
  EXPECT_EQ(owner("10.0.0.0/8"), "a");
  sw().source("zed")->enabledIs(true);
  EXPECT_EQ(owner("10.0.0.0/8"), "b");
}

TEST_F(GlobalPrefixTest, AGlobalPrefixOfAClearedOutputDoesNotBringItBack) {
  segment("a");
  sw().start();
  const auto sm = vrfSm();
  sw().hwConfig->vrfDelAll();
  sw().recorder.take();
  global("10.0.0.0/8", "a");
  EXPECT_THAT(sw().recorder.take(), IsEmpty());
}

TEST_F(GlobalPrefixTest, L2SegmentsHaveNone) {
  const auto l2 = sw().source("cli")->l2SegmentDirIs("l2");
  sw().start();
  l2->segmentIs("voice");
  const auto sm = sw().rootSm("cli")->l2SegDirSm();
  EXPECT_EQ(sm->getSegmentForMatchListPrefix(ten_), "");
  sm->processGlobalPrefixesForSegment("voice");
  EXPECT_TRUE(sw().hwConfig->l2Seg()->segmentHas("voice"));
}

TEST_F(GlobalPrefixTest, ASubscribersExceptionLetsTheOtherPrefixesOfTheSegmentIn) {
  for (const char* prefix : {"10.0.0.0/8", "11.0.0.0/8"}) global(prefix, "a");
  segment("a");
  sw().start();
  fwVrf()->prefixListDelAll();
  const TestSupport::OnWrite thrower(
      sw().hwConfig, [](const Kiv::TreeChange&) { throw std::runtime_error("subscriber"); });
  EXPECT_THROW(vrfSm()->processGlobalPrefixesForSegment("a"), std::runtime_error);
  EXPECT_EQ(owner("10.0.0.0/8"), "a");
  EXPECT_EQ(owner("11.0.0.0/8"), "a");
}

using GlobalPrefixDeathTest = GlobalPrefixTest;

TEST_F(GlobalPrefixDeathTest, AMissingVrfOrAStrayEntityEndsTheProcess) {
  sw().start();
  const auto sm = vrfSm();
  sw().fwConfigDir->newEntity<MatchList::Config>("stray");
  EXPECT_DEATH(sm->getGlobalPrefixSegment(ten_), "fwConfig");
  EXPECT_DEATH(sm->processGlobalPrefixesForSegment("a"), "fwConfig");
  sw().fwConfigDir->entityDel("stray");
  sw().hwConfig->vrfDelAll();
  EXPECT_DEATH(sm->getSegmentForMatchListPrefix(ten_), "segDir && \"SegmentDir not found\"");
  EXPECT_DEATH(sm->processGlobalPrefix(vrf(), true, ten_), "segDir && \"SegmentDir not found\"");
  EXPECT_DEATH(sm->processGlobalPrefixesForSegment("a"), "fwVrf && \" fwVrf not found\"");
}

TEST_F(GlobalPrefixTest, APrefixOfAVrfThatLeftTheOutputIsNeitherUpdatedNorRemoved) {
  sw().start();
  sw().hwConfig->vrfDel("red");
  sw().recorder.take();
  for (const char* const name : {"a", ""}) {
    const TraceCapture traces;
    vrfSm()->updateOrRemoveGlobalPrefix(Lanx::IpGenPrefix::parse("10.0.0.0/8"), name);
    EXPECT_THAT(traces.records(), IsEmpty());
  }
  EXPECT_THAT(sw().recorder.take(), IsEmpty());
}

}  // namespace
