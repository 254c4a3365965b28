// A segment's prefix lists, in both families: what is permitted, entry by entry.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/Firewall/PathFixture.h"
#include "tests/support/TraceCapture.h"

namespace {

using Firewall::ListSource;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::Ipv4;
using TestSupport::Ipv6;
using TestSupport::PathTest;
using TestSupport::TraceCapture;

template <class Family>
class PrefixListTest : public PathTest {
 protected:
  // Segment "a" has chosen the list "dc", which permits the prefixes 1 and 2 under 10 and 20.
  Sm::Ptr applied() {
    this->prefixList("dc", {net(1), net(2)});
    Family::choose(*segment("a"), ListSource::prefixList("dc"));
    return reactor("a");
  }
  static std::string net(int n) { return Family::subnet(n); }
};
using Families = ::testing::Types<Ipv4, Ipv6>;
TYPED_TEST_SUITE(PrefixListTest, Families);

TYPED_TEST(PrefixListTest, PermittedPrefixesAreAppliedBySequenceNumberWithoutATraceForEach) {
  this->entry("dc", 30, this->net(1));
  this->entry("dc", 20, this->net(3), Acl::Action::deny);
  this->entry("dc", 10, this->net(2));
  this->reactor("a");
  const TraceCapture traces(8, "Firewall/*");
  TypeParam::choose(*this->segment("a"), ListSource::prefixList("dc"));
  EXPECT_THAT(this->subnets("a"), ElementsAre(this->net(2), this->net(1)));
  EXPECT_EQ(this->owner(this->net(1)), "a");
  EXPECT_EQ(this->owner(this->net(3)), "");
  EXPECT_THAT(traces.texts(),
              ElementsAre(" segment: a name: lists", " usePrefixList: true",
                          " Add request for subnet: " + this->net(2) + " in segment: a name: lists",
                          " Adding to global subnet list", " Adding to segment local subnet list",
                          " Add request for subnet: " + this->net(1) + " in segment: a name: lists",
                          " Adding to global subnet list", " Adding to segment local subnet list",
                          " return"));
  EXPECT_TRUE(traces.saw(8, TypeParam::handleName, " usePrefixList: true"));
}

TYPED_TEST(PrefixListTest, AddsComeBeforeTheWithdrawalOfStalePrefixes) {
  const auto sm = this->applied();
  this->prefixList("new", {this->net(2), this->net(3)});
  this->sw().recorder.take();
  const TraceCapture traces(6, "Firewall/*");
  TypeParam::choose(*this->segment("a"), ListSource::prefixList("new"));
  EXPECT_THAT(this->sw().recorder.take(),
              ElementsAre("+ " + this->wide(this->net(3)) + " = a",
                          "+ " + this->local("a", this->net(3)) + " = true",
                          "- " + this->wide(this->net(1)), "- " + this->local("a", this->net(1))));
  EXPECT_TRUE(traces.saw(6, TypeParam::handleName,
                         " Deleting prefix: " + this->net(1) + " from  segment: a name: lists"));
}

TYPED_TEST(PrefixListTest, AListWithoutPermitsWithdrawsTheFamily) {
  const auto sm = this->applied();
  this->entry("none", 10, this->net(1), Acl::Action::deny);
  this->entry("none", 20, this->net(2), static_cast<Acl::Action>(2));
  TypeParam::choose(*this->segment("a"), ListSource::prefixList("none"));
  EXPECT_THAT(this->subnets("a"), IsEmpty());
}

TYPED_TEST(PrefixListTest, AMissingListWithdrawsTheFamily) {
  const auto sm = this->applied();
  const TraceCapture traces(6, "Firewall/*");
  TypeParam::choose(*this->segment("a"), ListSource::prefixList("nowhere"));
  EXPECT_THAT(this->subnets("a"), IsEmpty());
  EXPECT_TRUE(traces.saw(6, "hasPrefixList", " Could not find prefixlist: nowhere"));
}

TYPED_TEST(PrefixListTest, HasPrefixListLooksAtTheFamilyThatIsAskedFor) {
  const auto sm = this->applied();
  const TraceCapture traces(6, "Firewall/*");
  EXPECT_EQ(sm->hasPrefixList("dc", Lanx::AddressFamily::ipv4),
            TypeParam::family == Lanx::AddressFamily::ipv4);
  EXPECT_EQ(sm->hasPrefixList("dc", Lanx::AddressFamily::ipv6),
            TypeParam::family == Lanx::AddressFamily::ipv6);
  EXPECT_TRUE(traces.saw(6, "hasPrefixList", " plName: dc found in config path lists"));
  EXPECT_TRUE(traces.saw(6, "hasPrefixList", " Could not find prefixlist: dc"));
}

TYPED_TEST(PrefixListTest, ARemovedListIsWithdrawnAndThenItsReactorGoes) {
  const auto sm = this->applied();
  const TestSupport::OnWrite watcher(this->sw().hwConfig, [&sm](const Kiv::TreeChange& /*write*/) {
    EXPECT_TRUE(sm->aclIpv4PrefixListHas("dc") || sm->aclIpv6PrefixListHas("dc"));
  });
  TypeParam::prefixListDel(*this->sw().aclListConfig, "dc");
  EXPECT_THAT(this->subnets("a"), IsEmpty());
  EXPECT_TRUE(sm->aclIpv4PrefixList().empty());
  EXPECT_TRUE(sm->aclIpv6PrefixList().empty());
  this->prefixList("dc", {this->net(3)});
  EXPECT_THAT(this->subnets("a"), ElementsAre(this->net(3)));
}

TYPED_TEST(PrefixListTest, AnEntryThatIsAddedOrRemovedIsOneChange) {
  const auto sm = this->applied();
  this->sw().recorder.take();
  const TraceCapture traces(8, "Firewall/*");
  this->entry("dc", 5, this->net(3));
  EXPECT_THAT(this->sw().recorder.take(),
              ElementsAre("+ " + this->wide(this->net(3)) + " = a",
                          "+ " + this->local("a", this->net(3)) + " = true"));
  EXPECT_TRUE(traces.saw(7, TypeParam::prefixName, " segment: a prefixList: dc"));
  EXPECT_EQ(traces.count(8, TypeParam::handleName, " segment: a name: lists"), 0U);
  TypeParam::entryDel(*this->sw().aclListConfig, "dc", 10);
  EXPECT_THAT(this->sw().recorder.take(),
              ElementsAre("- " + this->wide(this->net(1)), "- " + this->local("a", this->net(1))));
}

TYPED_TEST(PrefixListTest, AnEntryThatIsDeniedIsWithdrawnAndPermittedAgain) {
  const auto sm = this->applied();
  this->entry("dc", 10, this->net(1), Acl::Action::deny);
  EXPECT_THAT(this->subnets("a"), ElementsAre(this->net(2)));
  this->entry("dc", 10, this->net(4), Acl::Action::deny);
  EXPECT_THAT(this->subnets("a"), ElementsAre(this->net(2)));
  this->entry("dc", 10, this->net(4));
  EXPECT_THAT(this->subnets("a"), ElementsAre(this->net(2), this->net(4)));
  this->entry("dc", 30, this->net(5), Acl::Action::deny);
  TypeParam::entryDel(*this->sw().aclListConfig, "dc", 30);
  EXPECT_THAT(this->subnets("a"), ElementsAre(this->net(2), this->net(4)));
}

TYPED_TEST(PrefixListTest, AnEntryWhosePrefixChangesWithdrawsTheOldOneFirst) {
  const auto sm = this->applied();
  this->sw().recorder.take();
  this->entry("dc", 10, this->net(3));
  EXPECT_THAT(this->sw().recorder.take(),
              ElementsAre("- " + this->wide(this->net(1)), "- " + this->local("a", this->net(1)),
                          "+ " + this->wide(this->net(3)) + " = a",
                          "+ " + this->local("a", this->net(3)) + " = true"));
}

TYPED_TEST(PrefixListTest, OneOfTwoEntriesOfAPrefixWithdrawsItForBoth) {
  const auto sm = this->applied();
  this->entry("dc", 30, this->net(1));
  EXPECT_THAT(this->subnets("a"), ElementsAre(this->net(1), this->net(2)));
  TypeParam::entryDel(*this->sw().aclListConfig, "dc", 30);
  EXPECT_THAT(this->subnets("a"), ElementsAre(this->net(2)));
  TypeParam::handle(*sm);
  EXPECT_THAT(this->subnets("a"), ElementsAre(this->net(2), this->net(1)));
}

TYPED_TEST(PrefixListTest, AnEntryOfAListThatIsNotChosenChangesNothing) {
  const auto sm = this->applied();
  const TraceCapture traces(7, "Firewall/*");
  this->entry("other", 10, this->net(3));
  EXPECT_THAT(traces.texts(), ElementsAre(" segment: a prefixList: other"));
  TypeParam::choose(*this->segment("a"), ListSource());
  this->entry("dc", 30, this->net(3));
  EXPECT_THAT(this->subnets("a"), IsEmpty());
}

TYPED_TEST(PrefixListTest, ExistingSubnetsAreComparedWithoutTheirHostBits) {
  this->matchList("web", {TypeParam::withHostBits(1), TypeParam::withHostBits(2)});
  TypeParam::choose(*this->segment("a"), ListSource::matchList("web"));
  this->prefixList("dc", {this->net(1)});
  const auto sm = this->reactor("a");
  TypeParam::choose(*this->segment("a"), ListSource::prefixList("dc"));
  EXPECT_THAT(this->subnets("a"), ElementsAre(TypeParam::withHostBits(1), this->net(1)));
}

TYPED_TEST(PrefixListTest, AListThatIsReplacedInOneGoIsFollowed) {
  // Told of the removal before the reactor is, it makes the list anew.
  struct Replacer {
    static void dispatch(void* owner, Pith::Publisher*, Pith::Subscriber*, Pith::FieldId,
                         const void*, const Pith::Change* change) {
      if (change->current == nullptr) (*static_cast<std::function<void()>*>(owner))();
    }
  };
  this->prefixList("dc", {this->net(1)});
  std::function<void()> replace = [&] { this->prefixList("dc", {this->net(2)}); };
  Pith::Subscriber subscriber(&replace, &Replacer::dispatch);
  this->sw().aclListConfig->publisher().subscriberAdd(subscriber);
  TypeParam::choose(*this->segment("a"), ListSource::prefixList("dc"));
  const auto sm = this->reactor("a");
  TypeParam::prefixListDel(*this->sw().aclListConfig, "dc");
  EXPECT_THAT(this->subnets("a"), ElementsAre(this->net(2)));
  this->entry("dc", 20, this->net(3));
  EXPECT_THAT(this->subnets("a"), ElementsAre(this->net(2), this->net(3)));
}

}  // namespace
