// A segment's match lists, in both families: recomputed when the choice or a list changes, entry by
// entry when a subnet does.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>

#include "framework/Kiv/Errors.h"
#include "framework/Pith/RangeException.h"
#include "tests/Firewall/PathFixture.h"
#include "tests/support/TraceCapture.h"

namespace {

using Firewall::ListSource;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
using TestSupport::Ipv4;
using TestSupport::Ipv6;
using TestSupport::PathTest;
using TestSupport::TraceCapture;

template <class Family>
class MatchListTest : public PathTest {
 protected:
  // Segment "a" has chosen the list "web" with the subnets 1 and 2.
  Sm::Ptr applied() {
    this->matchList("web", {net(1), net(2)});
    Family::choose(*segment("a"), ListSource::matchList("web"));
    return reactor("a");
  }
  static std::string net(int n) { return Family::subnet(n); }
};
using Families = ::testing::Types<Ipv4, Ipv6>;
TYPED_TEST_SUITE(MatchListTest, Families);

TYPED_TEST(MatchListTest, EveryListOfThePathAndEveryPrefixListGetsItsReactor) {
  this->matchList("m4", {"10.0.0.0/8"});
  this->matchList("other", {"10.0.0.0/8"}, "other path");
  this->matchList("m6", {"2001:db8::/32"});
  this->prefixList("p4", {"10.0.0.0/8"});
  this->prefixList("p6", {"2001:db8::/32"});
  const auto sm = this->reactor("a");
  EXPECT_TRUE(sm->initialized());
  EXPECT_TRUE(sm->matchIpv4PrefixListHas("m4"));
  EXPECT_EQ(sm->matchIpv4PrefixList().size(), 1U);
  EXPECT_TRUE(sm->matchIpv6PrefixListHas("m6"));
  EXPECT_EQ(sm->matchIpv6PrefixList().size(), 1U);
  EXPECT_TRUE(sm->aclIpv4PrefixListHas("p4"));
  EXPECT_EQ(sm->aclIpv4PrefixList().size(), 1U);
  EXPECT_TRUE(sm->aclIpv6PrefixListHas("p6"));
  EXPECT_EQ(sm->aclIpv6PrefixList().size(), 1U);
}

TYPED_TEST(MatchListTest, InitialisationTracesThePathAndThenBothFamilies) {
  const TraceCapture traces(9, "Firewall/*");
  this->reactor("a");
  std::vector<std::string> functions;
  for (const auto& record : traces.records()) {
    if (record.text.starts_with(" segment: ") || record.level == 9) {
      functions.push_back(std::to_string(record.level) + " " + record.function + record.text);
    }
  }
  EXPECT_THAT(functions, ElementsAre("9 handleInitialized MatchList config path : lists",
                                     "8 handleIpv4PrefixList segment: a name: lists",
                                     "8 cleanIpv4PrefixList segment: a name: lists",
                                     "8 handleIpv6PrefixList segment: a name: lists",
                                     "7 cleanIpv6PrefixList segment: a name: lists"));
}

TYPED_TEST(MatchListTest, AListThatIsChosenIsAppliedInSetOrderWithItsTraces) {
  this->matchList("web", {this->net(2), this->net(1)});
  this->reactor("a");
  const TraceCapture traces(8, "Firewall/*");
  TypeParam::choose(*this->segment("a"), ListSource::matchList("web"));
  EXPECT_THAT(this->subnets("a"), ElementsAre(this->net(1), this->net(2)));
  EXPECT_EQ(this->owner(this->net(1)), "a");
  EXPECT_THAT(traces.texts(),
              ElementsAre(" segment: a name: lists", " usePrefixList: false",
                          " Adding prefix: " + this->net(1) + " to segment: a name: lists",
                          " Add request for subnet: " + this->net(1) + " in segment: a name: lists",
                          " Adding to global subnet list", " Adding to segment local subnet list",
                          " Adding prefix: " + this->net(2) + " to segment: a name: lists",
                          " Add request for subnet: " + this->net(2) + " in segment: a name: lists",
                          " Adding to global subnet list", " Adding to segment local subnet list",
                          " return"));
  EXPECT_TRUE(traces.saw(8, TypeParam::handleName, " segment: a name: lists"));
  EXPECT_TRUE(traces.saw(8, TypeParam::handleName, " usePrefixList: false"));
  EXPECT_TRUE(traces.saw(6, TypeParam::handleName,
                         " Adding prefix: " + this->net(1) + " to segment: a name: lists"));
  EXPECT_TRUE(traces.saw(7, TypeParam::handleName, " return"));
}

TYPED_TEST(MatchListTest, AnotherListAddsItsSubnetsBeforeTheStaleOnesAreWithdrawn) {
  const auto sm = this->applied();
  this->matchList("mail", {this->net(2), this->net(3)});
  this->sw().recorder.take();
  const TraceCapture traces(6, "Firewall/*");
  TypeParam::choose(*this->segment("a"), ListSource::matchList("mail"));
  EXPECT_THAT(this->sw().recorder.take(),
              ElementsAre("+ " + this->wide(this->net(3)) + " = a",
                          "+ " + this->local("a", this->net(3)) + " = true",
                          "- " + this->wide(this->net(1)), "- " + this->local("a", this->net(1))));
  EXPECT_TRUE(traces.saw(6, TypeParam::handleName,
                         " Deleting prefix: " + this->net(1) + " from  segment: a name: lists"));
}

TYPED_TEST(MatchListTest, NoneWithdrawsTheFamily) {
  const auto sm = this->applied();
  const TraceCapture traces(8, "Firewall/*");
  TypeParam::choose(*this->segment("a"), ListSource());
  EXPECT_THAT(this->subnets("a"), IsEmpty());
  EXPECT_EQ(this->owner(this->net(1)), "");
  EXPECT_EQ(traces.texts().front(), " segment: a name: lists");
  EXPECT_TRUE(traces.saw(TypeParam::cleanLevel, TypeParam::cleanName, " segment: a name: lists"));
  EXPECT_EQ(traces.count(8, TypeParam::handleName, " usePrefixList: false"), 0U);
  EXPECT_TRUE(traces.saw(7, TypeParam::handleName, " return"));
}

TYPED_TEST(MatchListTest, NoneKeepsTheFamilyWhileAnotherSourceGivesTheSegmentAList) {
  const auto sm = this->applied();
  TypeParam::choose(*this->segment("a", "cloud"), ListSource::prefixList("missing"));
  EXPECT_TRUE(sm->isMatchListConfigured(TypeParam::family));
  TypeParam::choose(*this->segment("a"), ListSource());
  EXPECT_THAT(this->subnets("a"), ElementsAre(this->net(1), this->net(2)));
  // The other family has a source nowhere, nor does another segment.
  EXPECT_FALSE(sm->isMatchListConfigured(TypeParam::family == Lanx::AddressFamily::ipv4
                                             ? Lanx::AddressFamily::ipv6
                                             : Lanx::AddressFamily::ipv4));
  EXPECT_FALSE(this->reactor("b")->isMatchListConfigured(TypeParam::family));
  // Whether that source is enabled does not matter, nor which alternative it names.
  this->sw().source("cloud")->enabledIs(false);
  EXPECT_TRUE(sm->isMatchListConfigured(TypeParam::family));
  TypeParam::choose(*this->segment("a", "cloud"), ListSource());
  EXPECT_FALSE(sm->isMatchListConfigured(TypeParam::family));
}

TYPED_TEST(MatchListTest, AListThatIsInNoPathWithdrawsTheFamily) {
  const auto sm = this->applied();
  const TraceCapture traces(6, "Firewall/*");
  TypeParam::choose(*this->segment("a"), ListSource::matchList("nowhere"));
  EXPECT_THAT(this->subnets("a"), IsEmpty());
  EXPECT_TRUE(traces.saw(6, "hasMatchList", " Could not find matchlist: nowhere"));
}

TYPED_TEST(MatchListTest, AListOfAnotherPathKeepsTheFamily) {
  const auto sm = this->applied();
  this->matchList("elsewhere", {this->net(5)}, "other");
  this->sw().matchListConfigDir->template newEntity<Acl::AclListConfig>("no match lists");
  const TraceCapture traces(6, "Firewall/*");
  TypeParam::choose(*this->segment("a"), ListSource::matchList("elsewhere"));
  EXPECT_THAT(this->subnets("a"), ElementsAre(this->net(1), this->net(2)));
  EXPECT_THAT(traces.texts(), ElementsAre(" mlName: elsewhere found in config path: other"));
  EXPECT_TRUE(traces.saw(6, "hasMatchList", " mlName: elsewhere found in config path: other"));
}

TYPED_TEST(MatchListTest, HasMatchListLooksAtTheFamilyThatIsAskedFor) {
  this->matchList("web", {this->net(1)});
  const auto sm = this->reactor("a");
  EXPECT_EQ(sm->hasMatchList("web", Lanx::AddressFamily::ipv4),
            TypeParam::family == Lanx::AddressFamily::ipv4);
  EXPECT_EQ(sm->hasMatchList("web", Lanx::AddressFamily::ipv6),
            TypeParam::family == Lanx::AddressFamily::ipv6);
}

TYPED_TEST(MatchListTest, AFamilyCleanedWhileItsListIsAppliedIsAppliedAgain) {
  this->matchList("web", {this->net(1), this->net(2), this->net(3)});
  const auto sm = this->reactor("a");
  bool isFirst = true;
  const TestSupport::OnWrite cleaner(this->sw().hwConfig, [&](const Kiv::TreeChange& change) {
    if (change.path != this->local("a", this->net(2)) || !std::exchange(isFirst, false)) return;
    TypeParam::clean(*sm);
  });
  TypeParam::choose(*this->segment("a"), ListSource::matchList("web"));
  EXPECT_FALSE(isFirst);
  EXPECT_THAT(this->subnets("a"), UnorderedElementsAre(this->net(1), this->net(2), this->net(3)));
}

TYPED_TEST(MatchListTest, ARemovedListIsWithdrawnAndThenItsReactorGoes) {
  const auto sm = this->applied();
  const TestSupport::OnWrite watcher(this->sw().hwConfig, [&sm](const Kiv::TreeChange& /*write*/) {
    EXPECT_TRUE(sm->matchIpv4PrefixListHas("web") || sm->matchIpv6PrefixListHas("web"));
  });
  TypeParam::matchListDel(*this->sw().matchLists("lists"), "web");
  EXPECT_THAT(this->subnets("a"), IsEmpty());
  EXPECT_TRUE(sm->matchIpv4PrefixList().empty());
  EXPECT_TRUE(sm->matchIpv6PrefixList().empty());
  this->matchList("web", {this->net(3)});
  EXPECT_THAT(this->subnets("a"), ElementsAre(this->net(3)));
}

TYPED_TEST(MatchListTest, AListThatStaysInAnotherPathKeepsTheFamilyWhenItIsRemoved) {
  const auto sm = this->applied();
  this->matchList("web", {this->net(9)}, "other");
  TypeParam::matchListDel(*this->sw().matchLists("lists"), "web");
  EXPECT_THAT(this->subnets("a"), ElementsAre(this->net(1), this->net(2)));
}

TYPED_TEST(MatchListTest, AChangedListIsRecomputedOnlyWhereItIsNamed) {
  const auto sm = this->applied();
  this->output("a")->subnetsIs(Lanx::IpGenAddrWithMask::parse(this->net(7)), true);
  TraceCapture traces(8, "Firewall/*");
  TypeParam::handle(*sm, "mail");
  EXPECT_THAT(traces.texts(), ElementsAre(" segment: a name: mail"));
  EXPECT_TRUE(traces.saw(8, TypeParam::handleName, " segment: a name: mail"));
  EXPECT_THAT(this->subnets("a"), ElementsAre(this->net(1), this->net(2), this->net(7)));
  traces.clear();
  TypeParam::handle(*sm, "web");
  EXPECT_EQ(traces.texts().front(), " segment: a name: web");
  EXPECT_THAT(this->subnets("a"), ElementsAre(this->net(1), this->net(2)));
  TypeParam::choose(*this->segment("a"), ListSource());
  traces.clear();
  TypeParam::handle(*sm, "");  // none has no name, not an empty one
  EXPECT_THAT(traces.texts(), ElementsAre(" segment: a name: "));
}

TYPED_TEST(MatchListTest, ListsOfTheSameNameBothTriggerTheRecompute) {
  const auto sm = this->applied();
  const TraceCapture traces(8, "Firewall/*");
  TypeParam::prefixListIs(*this->sw().aclListConfig, "web");
  EXPECT_EQ(traces.count(8, TypeParam::handleName, " usePrefixList: false"), 1U);
  TypeParam::prefixListDel(*this->sw().aclListConfig, "web");
  EXPECT_EQ(traces.count(8, TypeParam::handleName, " usePrefixList: false"), 2U);
  EXPECT_THAT(this->subnets("a"), ElementsAre(this->net(1), this->net(2)));
  TypeParam::choose(*this->segment("a"), ListSource::prefixList("web"));
  TypeParam::matchListDel(*this->sw().matchLists("lists"), "web");
  EXPECT_EQ(traces.count(8, TypeParam::handleName, " usePrefixList: true"), 2U);
}

TYPED_TEST(MatchListTest, AnEntryOfTheSameNamedPrefixListIsNotOfTheMatchList) {
  const auto sm = this->applied();
  this->prefixList("web", {this->net(5)});
  EXPECT_THAT(this->subnets("a"), ElementsAre(this->net(1), this->net(2)));
  TypeParam::choose(*this->segment("a"), ListSource::prefixList("web"));
  EXPECT_THAT(this->subnets("a"), ElementsAre(this->net(5)));
  this->matchListAdd("web", this->net(6));
  EXPECT_THAT(this->subnets("a"), ElementsAre(this->net(5)));
}

TYPED_TEST(MatchListTest, TheOtherFamilyIsNeverTouched) {
  const auto sm = this->applied();
  this->matchList("other", {TypeParam::otherFamily(1), TypeParam::otherFamily(2)});
  TypeParam::chooseOther(*this->segment("a"), ListSource::matchList("other"));
  EXPECT_THAT(this->subnets("a"), ElementsAre(this->net(1), this->net(2), TypeParam::otherFamily(1),
                                              TypeParam::otherFamily(2)));
  TypeParam::choose(*this->segment("a"), ListSource::matchList("nowhere"));
  EXPECT_THAT(this->subnets("a"),
              ElementsAre(TypeParam::otherFamily(1), TypeParam::otherFamily(2)));
  TypeParam::clean(*sm);
  TypeParam::choose(*this->segment("a"), ListSource::prefixList("nowhere"));
  TypeParam::choose(*this->segment("a"), ListSource());
  EXPECT_THAT(this->subnets("a"),
              ElementsAre(TypeParam::otherFamily(1), TypeParam::otherFamily(2)));
  TypeParam::choose(*this->segment("a"), ListSource::matchList("web"));
  TypeParam::chooseOther(*this->segment("a"), ListSource());
  EXPECT_THAT(this->subnets("a"), ElementsAre(this->net(1), this->net(2)));
}

TYPED_TEST(MatchListTest, ASubnetThatComesOrGoesIsOneChange) {
  const auto sm = this->applied();
  this->sw().recorder.take();
  const TraceCapture traces(8, "Firewall/*");
  this->matchListAdd("web", this->net(3));
  EXPECT_THAT(this->sw().recorder.take(),
              ElementsAre("+ " + this->wide(this->net(3)) + " = a",
                          "+ " + this->local("a", this->net(3)) + " = true"));
  EXPECT_TRUE(traces.saw(8, TypeParam::subnetName, ": " + this->net(3)));
  EXPECT_EQ(traces.count(8, TypeParam::handleName, " segment: a name: lists"), 0U);
  this->matchListRemove("web", this->net(1));
  EXPECT_THAT(this->sw().recorder.take(),
              ElementsAre("- " + this->wide(this->net(1)), "- " + this->local("a", this->net(1))));
}

TYPED_TEST(MatchListTest, ASubnetOfAListThatIsNotChosenChangesNothing) {
  const auto sm = this->applied();
  this->matchList("mail", {this->net(3)});
  EXPECT_THAT(this->subnets("a"), ElementsAre(this->net(1), this->net(2)));
  TypeParam::choose(*this->segment("a"), ListSource());
  this->matchListAdd("web", this->net(3));
  EXPECT_THAT(this->subnets("a"), IsEmpty());
}

TYPED_TEST(MatchListTest, HostBitsAreKeptLocallyAndClearedVrfWide) {
  this->matchList("web", {TypeParam::withHostBits(1), this->net(1)});
  TypeParam::choose(*this->segment("a"), ListSource::matchList("web"));
  const auto sm = this->reactor("a");
  EXPECT_THAT(this->subnets("a"), ElementsAre(this->net(1), TypeParam::withHostBits(1)));
  EXPECT_EQ(this->fwVrf().prefixList().size(), 1U);
  EXPECT_EQ(this->owner(this->net(1)), "a");
  // A match list is compared exactly: the one with host bits is stale though its prefix is listed.
  this->matchList("mail", {this->net(1)});
  TypeParam::choose(*this->segment("a"), ListSource::matchList("mail"));
  EXPECT_THAT(this->subnets("a"), ElementsAre(this->net(1)));
}

TYPED_TEST(MatchListTest, AMeaninglessChoiceRaisesTheRangeError) {
  const auto sm = this->applied();
  const auto expectError = [](const auto& work) {
    try {
      work();
      ADD_FAILURE() << "no error";
    } catch (const Pith::RangeException& error) {
      EXPECT_STREQ(error.what(), "Firewall::ListSource::tag > 2 (bad union access) not allowed");
    }
  };
  expectError([&] { TypeParam::choose(*this->segment("a"), ListSource(3, "web")); });
  expectError([&] { TypeParam::handle(*sm); });
  expectError([&] { TypeParam::handle(*sm, "web"); });
  expectError([&] { this->matchListAdd("web", this->net(3)); });
  EXPECT_TRUE(sm->isMatchListConfigured(TypeParam::family)) << "it is another than none";
  EXPECT_THAT(this->subnets("a"), ElementsAre(this->net(1), this->net(2)));
  // A list still gets its reactor.
  expectError([&] { TypeParam::matchListIs(*this->sw().matchLists("lists"), "mail"); });
  EXPECT_TRUE(sm->matchIpv4PrefixListHas("mail") || sm->matchIpv6PrefixListHas("mail"));
}

TYPED_TEST(MatchListTest, WhetherAMeaninglessChoiceIsOfAPrefixListIsTracedBeforeItIsRefused) {
  const auto sm = this->applied();
  const TestSupport::TraceCapture traces(8, "Firewall/*");
  EXPECT_THROW(TypeParam::choose(*this->segment("a"), ListSource(3, "web")), Pith::RangeException);
  EXPECT_TRUE(traces.saw(8, TypeParam::handleName, " usePrefixList: false"));
}

TYPED_TEST(MatchListTest, AMeaninglessChoiceOfAnotherSourceRaisesNothing) {
  const auto sm = this->applied();
  TypeParam::choose(*this->segment("a", "cloud"), ListSource(3, "web"));
  TypeParam::choose(*this->segment("a"), ListSource());
  EXPECT_THAT(this->subnets("a"), ElementsAre(this->net(1), this->net(2)))
      << "it is another than none";
}

TYPED_TEST(MatchListTest, AZombieIgnoresWhatItIsTold) {
  const auto sm = this->applied();
  sm->kivDoZombieReactors(true);
  TypeParam::choose(*this->segment("a"), ListSource());
  TypeParam::matchListIs(*this->sw().matchLists("lists"), "mail");
  TypeParam::prefixListIs(*this->sw().aclListConfig, "mail");
  EXPECT_THAT(this->subnets("a"), ElementsAre(this->net(1), this->net(2)));
  EXPECT_FALSE(sm->matchIpv4PrefixListHas("mail") || sm->matchIpv6PrefixListHas("mail"));
  EXPECT_FALSE(sm->aclIpv4PrefixListHas("mail") || sm->aclIpv6PrefixListHas("mail"));
  sm->kivDoZombieReactors(false);
  TypeParam::handle(*sm);
  EXPECT_THAT(this->subnets("a"), IsEmpty());
}

TYPED_TEST(MatchListTest, WithNotificationsOffNothingIsFollowed) {
  const auto sm = this->applied();
  sm->hasNotificationActiveIs(false);
  TypeParam::choose(*this->segment("a"), ListSource());
  this->matchListAdd("web", this->net(3));
  EXPECT_THAT(this->subnets("a"), ElementsAre(this->net(1), this->net(2)));
  sm->hasNotificationActiveIs(true);
  TypeParam::choose(*this->segment("a"), ListSource::matchList("web"));
  EXPECT_THAT(this->subnets("a"), ElementsAre(this->net(1), this->net(2), this->net(3)));
}

TYPED_TEST(MatchListTest, AListThatIsReplacedInOneGoIsFollowed) {
  // Told of the removal before the reactor is, it makes the list anew.
  const auto lists = this->sw().matchLists("lists");
  this->matchList("web", {this->net(1)});
  struct Replacer {
    static void dispatch(void* owner, Pith::Publisher*, Pith::Subscriber*, Pith::FieldId,
                         const void*, const Pith::Change* change) {
      if (change->current == nullptr) (*static_cast<std::function<void()>*>(owner))();
    }
  };
  std::function<void()> replace = [&] { this->matchList("web", {this->net(2)}); };
  Pith::Subscriber subscriber(&replace, &Replacer::dispatch);
  lists->publisher().subscriberAdd(subscriber);
  TypeParam::choose(*this->segment("a"), ListSource::matchList("web"));
  const auto sm = this->reactor("a");
  TypeParam::matchListDel(*lists, "web");
  EXPECT_THAT(this->subnets("a"), ElementsAre(this->net(2)));
  this->matchListAdd("web", this->net(3));
  EXPECT_THAT(this->subnets("a"), ElementsAre(this->net(2), this->net(3)));
}

TYPED_TEST(MatchListTest, CleaningWithdrawsTheFamilyOnly) {
  const auto sm = this->applied();
  this->matchList("other", {TypeParam::otherFamily(1)});
  TypeParam::chooseOther(*this->segment("a"), ListSource::matchList("other"));
  const TraceCapture traces(8, "Firewall/*");
  TypeParam::clean(*sm);
  EXPECT_THAT(this->subnets("a"), ElementsAre(TypeParam::otherFamily(1)));
  EXPECT_EQ(this->owner(this->net(1)), "");
  EXPECT_EQ(traces.records().front().level, TypeParam::cleanLevel);
  EXPECT_EQ(traces.records().front().function, TypeParam::cleanName);
  EXPECT_EQ(traces.records().front().text, " segment: a name: lists");
}

class MatchListPathTest : public PathTest {};

TEST_F(MatchListPathTest, AListIsAskedForAgainWithItsOwnReferenceOnly) {
  matchList("m", {"10.0.0.0/8", "2001:db8::/32"});
  prefixList("p", {"10.0.0.0/8"});
  prefixList("p", {"2001:db8::/32"});
  const auto sm = reactor("a");
  const auto lists = sw().matchLists("lists");
  EXPECT_EQ(sm->matchIpv4PrefixListIs(lists->matchIpv4PrefixList("m")),
            sm->matchIpv4PrefixList("m"));
  EXPECT_THROW(sm->matchIpv4PrefixListIs(Kiv::make<MatchList::MatchIpv4PrefixListConfig>("m")),
               Kiv::ReinstantiationError);
  EXPECT_THROW(sm->matchIpv6PrefixListIs(Kiv::make<MatchList::MatchIpv6PrefixListConfig>("m")),
               Kiv::ReinstantiationError);
  EXPECT_THROW(sm->aclIpv4PrefixListIs(Kiv::make<Acl::PrefixList>("p")), Kiv::ReinstantiationError);
  EXPECT_THROW(sm->aclIpv6PrefixListIs(Kiv::make<Acl::Ipv6PrefixList>("p")),
               Kiv::ReinstantiationError);
}

TEST_F(MatchListPathTest, TwoPathsWithAListOfTheSameNameTakeFromOneAnother) {
  matchList("web", {"10.0.0.0/8"}, "one");
  matchList("web", {"11.0.0.0/8"}, "two");
  segment("a")->prefixIpv4MlIs(ListSource::matchList("web"));
  reactor("a", "cli", "one");
  EXPECT_THAT(subnets("a"), ElementsAre("10.0.0.0/8"));
  reactor("a", "cli", "two");
  EXPECT_THAT(subnets("a"), ElementsAre("11.0.0.0/8"));
}

TEST_F(MatchListPathTest, APathThatGoesLeavesItsSubnets) {
  matchList("web", {"10.0.0.0/8"});
  segment("a")->prefixIpv4MlIs(ListSource::matchList("web"));
  reactor("a");
  drop("a");
  EXPECT_THAT(subnets("a"), ElementsAre("10.0.0.0/8"));
  EXPECT_EQ(owner("10.0.0.0/8"), "a");
}

TEST_F(MatchListPathTest, ASegmentThatLeavesIsCleanedOfIpv4First) {
  matchList("web", {"10.0.0.0/8", "2001:db8::/32"});
  segment("a")->prefixIpv6MlIs(ListSource::matchList("web"));
  segment("a")->prefixIpv4MlIs(ListSource::matchList("web"));
  const auto sm = reactor("a");
  sw().recorder.take();
  sm->cleanup();
  EXPECT_THAT(sw().recorder.take(),
              ElementsAre("- " + wide("10.0.0.0/8"), "- " + local("a", "10.0.0.0/8"),
                          "- " + wide("2001:db8::/32"), "- " + local("a", "2001:db8::/32")));
}

TEST_F(MatchListPathTest, AnL2SegmentHasSubnetsAndNoVrf) {
  const auto l2 = sw().hwConfig->l2SegIs("l2SegDir");
  const auto output = l2->segmentIs("voice");
  const auto input = sw().source("cli")->l2SegmentDirIs("l2")->segmentIs("voice");
  input->prefixIpv4MlIs(ListSource::matchList("web"));
  segment("voice")->prefixIpv4MlIs(ListSource::matchList("web"));  // a namesake in the VRF
  matchList("web", {"10.0.0.0/8", "10.1.0.1/16"});
  auto sm = Firewall::matchListConfigPathSmFactory(
      "lists", "voice", sw().fwConfigDir, nullptr, sw().matchListConfigDir,
      sw().matchLists("lists"), input, output, sw().hwCapability, sw().aclListConfig, nullptr);
  EXPECT_EQ(output->subnets().size(), 2U);
  EXPECT_TRUE(fwVrf().prefixList().empty());
  EXPECT_FALSE(sm->isMatchListConfigured(Lanx::AddressFamily::ipv4));
  matchListRemove("web", "10.0.0.0/8");
  EXPECT_EQ(output->subnets().size(), 1U);
  sm->cleanup();
  EXPECT_TRUE(output->subnets().empty());
}

TEST_F(MatchListPathTest, SegmentsAreToldInTheOrderOfTheirReactorsInWhateverOrderTheyChose) {
  matchList("web", {"10.0.0.0/8"});
  matchList("other", {"192.0.2.0/24"});
  for (const char* name : {"a", "b", "c"}) reactor(name);
  for (const char* name : {"c", "a", "b"}) {
    segment(name)->prefixIpv4MlIs(ListSource::matchList("web"));
  }
  segment("b")->prefixIpv4MlIs(ListSource::matchList("other"));
  const auto writesOfChange = [this] {
    sw().recorder.take();
    matchListAdd("web", "11.0.0.0/8");
    matchListRemove("web", "11.0.0.0/8");
    return sw().recorder.take();
  };
  const auto untraced = writesOfChange();
  EXPECT_THAT(
      untraced,
      ElementsAre("+ " + wide("11.0.0.0/8") + " = a", "+ " + local("a", "11.0.0.0/8") + " = true",
                  "+ " + local("c", "11.0.0.0/8") + " = true", "~ " + wide("11.0.0.0/8") + " = c",
                  "- " + local("a", "11.0.0.0/8"), "- " + wide("11.0.0.0/8"),
                  "- " + local("c", "11.0.0.0/8")));
  const TraceCapture traces(8, "Firewall/*");  // then all three are told
  EXPECT_EQ(writesOfChange(), untraced);
}

TEST_F(MatchListPathTest, EveryReactorTracesTheChangeOfAListThatItsSegmentDidNotChoose) {
  prefixList("p", {"10.0.0.0/8"});
  matchList("m", {"10.0.0.0/8"});
  for (const char* name : {"a", "b"}) reactor(name);
  const TraceCapture traces(8, "Firewall/*");
  entry("p", 20, "11.0.0.0/8");
  EXPECT_THAT(traces.texts(),
              ElementsAre(" segment: a prefixList: p", " segment: b prefixList: p"));
  matchListAdd("m", "11.0.0.0/8");
  EXPECT_THAT(traces.texts(), ElementsAre(" segment: a prefixList: p", " segment: b prefixList: p",
                                          ": 11.0.0.0/8", ": 11.0.0.0/8"));
}

TEST_F(MatchListPathTest, AListHasAReactorOnceItIsAskedForOrChangesUnderASegmentThatChoseIt) {
  const auto reactors = [] {
    return TestSupport::liveCounts()
        ["Firewall::MatchListConfigPathSm::NestedSm_MatchIpv4PrefixList"];
  };
  matchList("one", {"10.0.0.0/8"});
  matchList("two", {"11.0.0.0/8"});
  segment("a")->prefixIpv4MlIs(ListSource::matchList("one"));
  const auto sm = reactor("a");
  matchListAdd("two", "12.0.0.0/8");
  EXPECT_EQ(reactors(), 0U);
  matchListAdd("one", "12.0.0.0/8");
  EXPECT_EQ(reactors(), 1U);
  const auto two = sm->matchIpv4PrefixList("two");
  EXPECT_EQ(reactors(), 2U);
  EXPECT_EQ(sm->matchIpv4PrefixList("two"), two);
  EXPECT_EQ(two->notifier(), sw().matchLists("lists")->matchIpv4PrefixList("two"));
}

TEST_F(MatchListPathTest, TheReactorsAreThoseOfTheListsInTheirOrder) {
  for (const char* name : {"two", "one", "three"}) matchList(name, {"10.0.0.0/8"});
  const auto sm = reactor("a");
  const auto lists = sw().matchLists("lists");
  const auto names = [&sm] {
    std::vector<std::string> names;
    for (const auto& child : sm->matchIpv4PrefixList()) {
      names.emplace_back(child->notifier()->name().view());
    }
    EXPECT_EQ(sm->matchIpv4PrefixList().size(), names.size());
    return names;
  };
  EXPECT_THAT(names(), ElementsAre("two", "one", "three"));
  lists->matchIpv4PrefixListDel("two");
  matchList("two", {"10.0.0.0/8"});
  EXPECT_THAT(names(), ElementsAre("one", "three", "two"));
  sm->matchIpv4PrefixListDel("three");
  EXPECT_THAT(names(), ElementsAre("one", "two"));
  EXPECT_FALSE(sm->matchIpv4PrefixListHas("three"));
  sm->matchIpv4PrefixListIs(lists->matchIpv4PrefixList("three"));
  EXPECT_THAT(names(), ElementsAre("one", "three", "two"));
  sm->matchIpv4PrefixListDelAll();
  EXPECT_THAT(names(), IsEmpty());
  EXPECT_TRUE(sm->matchIpv4PrefixList().empty());
}

TEST_F(MatchListPathTest, AListReplacedWhileNotificationsWereOffHasAReactorOfItsOwn) {
  matchList("m", {"10.0.0.0/8"});
  segment("a")->prefixIpv4MlIs(ListSource::matchList("m"));
  const auto sm = reactor("a");
  const auto lists = sw().matchLists("lists");
  const auto stale = sm->matchIpv4PrefixList("m");
  sm->hasNotificationActiveIs(false);
  lists->matchIpv4PrefixListDel("m");
  matchList("m", {"11.0.0.0/8"});
  sm->hasNotificationActiveIs(true);
  const auto present = lists->matchIpv4PrefixList("m");
  EXPECT_EQ(sm->matchIpv4PrefixListIs(present)->notifier(), present);
  EXPECT_NE(sm->matchIpv4PrefixList("m"), stale);
}

using MatchListDeathTest = MatchListPathTest;

TEST_F(MatchListDeathTest, AListThatIsMissingWhenItsReactorIsToldEndsTheProcess) {
  matchList("m", {"10.0.0.0/8", "2001:db8::/32"});
  segment("a")->prefixIpv4MlIs(ListSource::matchList("m"));
  segment("a")->prefixIpv6MlIs(ListSource::matchList("m"));
  const auto sm = reactor("a");
  const auto lists = sw().matchLists("lists");
  const auto ipv4 = lists->matchIpv4PrefixList("m");
  const auto ipv6 = lists->matchIpv6PrefixList("m");
  sm->kivDoZombieReactors(true);  // it does not hear that the lists go
  lists->matchIpv4PrefixListDel("m");
  lists->matchIpv6PrefixListDel("m");
  EXPECT_DEATH(ipv4->subnetsIs(Lanx::IpAddrWithMask::parse("11.0.0.0/8")), "list");
  EXPECT_DEATH(ipv6->subnetsIs(Lanx::Ip6AddrWithMask::parse("2001:db9::/32")), "list");
}

TEST_F(MatchListDeathTest, AnEntityThatIsNoSourceEndsTheProcess) {
  const auto sm = reactor("a");
  sw().fwConfigDir->newEntity<MatchList::Config>("stray");
  EXPECT_DEATH(sm->isMatchListConfigured(Lanx::AddressFamily::ipv4), "fwConfig");
  EXPECT_DEATH(sm->handleIpv6PrefixList(), "fwConfig");
}

}  // namespace
