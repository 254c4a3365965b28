// Which segment a subnet belongs to: claims of match lists against one another and against the
// global prefixes of the sources.
#include "Firewall/Prefixes/SubnetClassification.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/Firewall/PathFixture.h"
#include "tests/support/TraceCapture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::PathTest;
using TestSupport::TraceCapture;

constexpr auto addName = "addMatchListConfiguredSubnet";
constexpr auto removeName = "removeMatchListConfiguredSubnet";

class SubnetClassificationTest : public PathTest {
 protected:
  void add(const std::string& segmentName, const std::string& subnet) {
    Firewall::addMatchListConfiguredSubnet(reactor(segmentName),
                                           Lanx::IpGenAddrWithMask::parse(subnet));
  }
  void remove(const std::string& segmentName, const std::string& subnet) {
    Firewall::removeMatchListConfiguredSubnet(reactor(segmentName),
                                              Lanx::IpGenAddrWithMask::parse(subnet));
  }
  bool isGlobal(const std::string& subnet, const char* vrfName = "red") {
    return Firewall::isGloballyConfigured(sw().fwConfigDir, vrfName,
                                          Lanx::IpGenAddrWithMask::parse(subnet));
  }
};

TEST_F(SubnetClassificationTest, TheFirstOfTwoClaimantsOwnsThePrefixAndBothHoldIt) {
  add("b", "10.0.0.0/8");
  add("a", "10.0.0.0/8");
  EXPECT_EQ(owner("10.0.0.0/8"), "b");
  EXPECT_THAT(subnets("a"), ElementsAre("10.0.0.0/8"));
  EXPECT_THAT(subnets("b"), ElementsAre("10.0.0.0/8"));
}

TEST_F(SubnetClassificationTest, ThePrefixPassesToTheOtherClaimantWithoutLeavingTheList) {
  add("a", "10.0.0.0/8");
  add("b", "10.0.0.0/8");
  sw().recorder.take();
  remove("a", "10.0.0.0/8");
  EXPECT_THAT(sw().recorder.take(),
              ElementsAre("~ " + wide("10.0.0.0/8") + " = b", "- " + local("a", "10.0.0.0/8")));
}

TEST_F(SubnetClassificationTest, OfThreeClaimantsTheSmallestNameInherits) {
  for (const char* name : {"c", "b", "a"}) add(name, "2001:db8::/32");
  remove("c", "2001:db8::/32");
  EXPECT_EQ(owner("2001:db8::/32"), "a");
}

TEST_F(SubnetClassificationTest, TheWithdrawalOfAnotherClaimantReattributesToo) {
  for (const char* name : {"c", "b", "a"}) add(name, "10.0.0.0/8");
  remove("a", "10.0.0.0/8");
  EXPECT_EQ(owner("10.0.0.0/8"), "b");
}

TEST_F(SubnetClassificationTest, AWithdrawalWithoutAClaimReattributesToo) {
  for (const char* name : {"c", "b"}) add(name, "10.0.0.0/8");
  remove("d", "10.0.0.0/8");
  EXPECT_EQ(owner("10.0.0.0/8"), "b");
}

TEST_F(SubnetClassificationTest, TheLastClaimantTakesThePrefixAlong) {
  for (const char* name : {"a", "b"}) add(name, "10.0.0.0/8");
  for (const char* name : {"a", "b"}) remove(name, "10.0.0.0/8");
  EXPECT_TRUE(fwVrf().prefixList().empty());
  EXPECT_THAT(subnets("a"), IsEmpty());
  EXPECT_THAT(subnets("b"), IsEmpty());
}

TEST_F(SubnetClassificationTest, AGlobalPrefixIsLeftAlone) {
  globalPrefix("10.0.0.0/8", "z");
  fwVrf().prefixListIs(Lanx::IpGenPrefix::parse("10.0.0.0/8"), "z");
  reactor("a");
  sw().recorder.take();
  const TraceCapture traces(6, "Firewall/*");
  add("a", "10.0.0.0/8");
  add("a", "10.0.0.1/8");  // the same prefix
  remove("a", "10.0.0.0/8");
  EXPECT_THAT(sw().recorder.take(), ElementsAre("+ " + local("a", "10.0.0.0/8") + " = true",
                                                "+ " + local("a", "10.0.0.1/8") + " = true",
                                                "- " + local("a", "10.0.0.0/8")));
  EXPECT_EQ(traces.count(6, addName, " Adding to global subnet list"), 0U);
  EXPECT_EQ(traces.count(6, removeName, " Remove from global prefix list"), 0U);
}

TEST_F(SubnetClassificationTest, AnySourceOfTheVrfMakesAPrefixGlobalButNoOtherVrf) {
  globalPrefix("10.0.0.0/8", "z", "cloud");
  sw().source("cloud")->enabledIs(false);
  sw().source("empty");
  EXPECT_TRUE(isGlobal("10.0.0.0/8"));
  EXPECT_TRUE(isGlobal("10.9.8.7/8"));
  EXPECT_FALSE(isGlobal("10.0.0.0/9"));
  EXPECT_FALSE(isGlobal("10.0.0.0/8", "blue"));
  add("a", "10.0.0.0/8");
  EXPECT_EQ(owner("10.0.0.0/8"), "");
}

TEST_F(SubnetClassificationTest, WithoutTheCapabilityOnlyTheLocalListIsKept) {
  sw().hwCapability->globalPrefixListSupportedIs(false);
  reactor("a");
  const TraceCapture traces(6, "Firewall/*");
  add("a", "10.0.0.0/8");
  EXPECT_THAT(subnets("a"), ElementsAre("10.0.0.0/8"));
  EXPECT_TRUE(fwVrf().prefixList().empty());
  remove("a", "10.0.0.0/8");
  EXPECT_THAT(subnets("a"), IsEmpty());
  EXPECT_THAT(traces.texts(),
              ElementsAre(" Add request for subnet: 10.0.0.0/8 in segment: a name: lists",
                          " Adding to segment local subnet list",
                          " Delete request for subnet: 10.0.0.0/8 in segment: a name: lists",
                          " Removing from segment local prefix list"));
}

TEST_F(SubnetClassificationTest, TracesSayWhatIsDone) {
  reactor("a");
  reactor("b");
  TraceCapture traces(6, "Firewall/*");
  add("a", "10.0.0.0/8");
  add("b", "10.0.0.0/8");
  EXPECT_THAT(traces.texts(),
              ElementsAre(" Add request for subnet: 10.0.0.0/8 in segment: a name: lists",
                          " Adding to global subnet list", " Adding to segment local subnet list",
                          " Add request for subnet: 10.0.0.0/8 in segment: b name: lists",
                          " Adding to segment local subnet list"));
  for (const auto& record : traces.records()) {
    EXPECT_EQ(record.level, 6) << record;
    EXPECT_EQ(record.function, addName) << record;
  }
  traces.clear();
  remove("a", "10.0.0.0/8");
  remove("b", "10.0.0.0/8");
  EXPECT_THAT(
      traces.texts(),
      ElementsAre(" Delete request for subnet: 10.0.0.0/8 in segment: a name: lists",
                  " Remove from global prefix list", " Applying segment: b",
                  " Removing from segment local prefix list",
                  " Delete request for subnet: 10.0.0.0/8 in segment: b name: lists",
                  " Remove from global prefix list", " Removing from segment local prefix list"));
  for (const auto& record : traces.records()) {
    EXPECT_EQ(record.level, 6) << record;
    EXPECT_EQ(record.function, removeName) << record;
  }
}

TEST_F(SubnetClassificationTest, HostBitsAreClearedVrfWideAndHideAHolderFromTheHeirSearch) {
  add("a", "10.0.0.1/8");
  add("b", "10.0.0.1/8");
  EXPECT_EQ(owner("10.0.0.0/8"), "a");
  EXPECT_THAT(subnets("b"), ElementsAre("10.0.0.1/8"));
  remove("a", "10.0.0.1/8");
  EXPECT_EQ(owner("10.0.0.0/8"), "");  // b holds 10.0.0.1/8, not 10.0.0.0/8
  EXPECT_THAT(subnets("b"), ElementsAre("10.0.0.1/8"));
}

TEST_F(SubnetClassificationTest, ASubnetWithHostBitsTakesThePrefixFromItsOwnSegment) {
  add("a", "10.0.0.0/8");
  add("a", "10.0.0.1/8");
  remove("a", "10.0.0.1/8");
  EXPECT_THAT(subnets("a"), ElementsAre("10.0.0.0/8"));
  EXPECT_EQ(owner("10.0.0.0/8"), "");
}

TEST_F(SubnetClassificationTest, BothFamiliesShareOneListWithoutConfusion) {
  add("a", "0.0.0.0/0");
  add("b", "::/0");
  EXPECT_EQ(owner("0.0.0.0/0"), "a");
  EXPECT_EQ(owner("::/0"), "b");
}

TEST_F(SubnetClassificationTest, ASegmentThatLeftTheOutputClaimsNothingAnyMore) {
  const auto sm = reactor("a");
  add("a", "10.0.0.0/8");
  add("b", "10.0.0.0/8");
  const auto gone = output("a");
  fwVrf().segmentDel("a");
  sw().recorder.take();
  add("a", "11.0.0.0/8");
  EXPECT_THAT(sw().recorder.take(), IsEmpty());
  remove("a", "10.0.0.0/8");  // what it held passes on
  EXPECT_THAT(sw().recorder.take(), ElementsAre("~ " + wide("10.0.0.0/8") + " = b"));
  remove("a", "11.0.0.0/8");
  EXPECT_THAT(sw().recorder.take(), IsEmpty());
}

TEST_F(SubnetClassificationTest, AVrfThatLeftTheOutputDoesNotComeBack) {
  for (const char* name : {"a", "b"}) add(name, "10.0.0.0/8");
  sw().hwConfig->vrfDelAll();
  sw().recorder.take();
  remove("a", "10.0.0.0/8");
  add("a", "11.0.0.0/8");
  reactor("b")->cleanup();
  EXPECT_THAT(sw().recorder.take(), IsEmpty());
  EXPECT_TRUE(sw().hwConfig->vrf().empty());
}

TEST_F(SubnetClassificationTest, ASubscribersExceptionLeavesBothListsWritten) {
  reactor("a");
  const TestSupport::OnWrite thrower(
      sw().hwConfig, [](const Kiv::TreeChange&) { throw std::runtime_error("subscriber"); });
  EXPECT_THROW(add("a", "10.0.0.0/8"), std::runtime_error);
  EXPECT_EQ(owner("10.0.0.0/8"), "a");
  EXPECT_THAT(subnets("a"), ElementsAre("10.0.0.0/8"));
  EXPECT_THROW(remove("a", "10.0.0.0/8"), std::runtime_error);
  EXPECT_EQ(owner("10.0.0.0/8"), "");
  EXPECT_THAT(subnets("a"), IsEmpty());
}

// A subscriber that changes which sources have the VRF while a run of subnets is written.
TEST_F(SubnetClassificationTest, AGlobalPrefixThatASourceGainsUnderARunIsLeftAlone) {
  matchList("web", {"10.0.0.0/8", "11.0.0.0/8"});
  reactor("a");
  segment("b");
  const auto other = sw().source("api");
  other->enabledIs(true);
  const TestSupport::OnWrite onWrite(sw().hwConfig, [&](const Kiv::TreeChange& change) {
    if (change.path != "vrf/red/segment/a/subnets/10.0.0.0%2F8") return;
    other->vrfIs("red")->prefixIs(TestSupport::prefix("11.0.0.0/8"), "b");
  });
  segment("a")->prefixIpv4MlIs(Firewall::ListSource::matchList("web"));
  EXPECT_EQ(owner("10.0.0.0/8"), "a");
  EXPECT_EQ(owner("11.0.0.0/8"), "") << "it is the global configuration's to write";
}

TEST_F(SubnetClassificationTest, AGlobalPrefixThatLeavesWithItsSourceUnderARunIsTheListsAgain) {
  matchList("web", {"10.0.0.0/8", "11.0.0.0/8"});
  reactor("a");
  sw().source("api")->vrfIs("red")->prefixIs(TestSupport::prefix("11.0.0.0/8"), "b");
  const TestSupport::OnWrite onWrite(sw().hwConfig, [&](const Kiv::TreeChange& change) {
    if (change.path != "vrf/red/segment/a/subnets/10.0.0.0%2F8") return;
    sw().fwConfigDir->entityDel("api");
  });
  segment("a")->prefixIpv4MlIs(Firewall::ListSource::matchList("web"));
  EXPECT_EQ(owner("11.0.0.0/8"), "a");
}

TEST_F(SubnetClassificationTest, WithoutTheCapabilityNobodyLooksForSources) {
  sw().hwCapability->globalPrefixListSupportedIs(false);
  add("a", "10.0.0.0/8");
  sw().fwConfigDir->newEntity<MatchList::Config>("stray");
  add("a", "11.0.0.0/8");
  EXPECT_THAT(subnets("a"), ElementsAre("10.0.0.0/8", "11.0.0.0/8"));
  remove("a", "10.0.0.0/8");
  reactor("a")->cleanup();
  EXPECT_THAT(subnets("a"), IsEmpty());
}

using SubnetClassificationDeathTest = SubnetClassificationTest;

TEST_F(SubnetClassificationDeathTest, AnEntityThatIsNoSourceEndsTheProcess) {
  sw().fwConfigDir->newEntity<MatchList::Config>("stray");
  EXPECT_DEATH(isGlobal("10.0.0.0/8"), "fwConfig");
}

}  // namespace
