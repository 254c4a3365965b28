// A segment that changes its mind: none, match lists and prefix lists in all orders, in one source
// and in two, and while the output is being written.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <set>
#include <stdexcept>

#include "tests/Firewall/PathFixture.h"
#include "tests/support/TraceCapture.h"

namespace {

using Firewall::ListSource;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAreArray;
using TestSupport::Ipv4;
using TestSupport::Ipv6;
using TestSupport::PathTest;
using TestSupport::Texts;

template <class Family>
class MatchListSwitchTest : public PathTest {
 protected:
  struct Choice {
    ListSource source;
    Texts subnets;
  };

  // None, two match lists and two prefix lists that overlap, and a list that is nowhere.
  std::array<Choice, 6> choices() {
    matchList("m1", {net(1), net(2)});
    matchList("m2", {net(2), net(3)});
    prefixList("p1", {net(1), net(3)});
    prefixList("p2", {net(4)});
    return {{{ListSource(), {}},
             {ListSource::matchList("m1"), {net(1), net(2)}},
             {ListSource::matchList("m2"), {net(2), net(3)}},
             {ListSource::prefixList("p1"), {net(1), net(3)}},
             {ListSource::prefixList("p2"), {net(4)}},
             {ListSource::matchList("nowhere"), {}}}};
  }
  void choose(const Choice& choice, const std::string& source = "cli") {
    Family::choose(*segment("a", source), choice.source);
  }
  static std::string net(int n) { return Family::subnet(n); }

  // The segment has exactly these subnets, and owns them; none of them left on the way.
  void expectHas(const Texts& wanted, const Texts& before) {
    EXPECT_THAT(subnets("a"), UnorderedElementsAreArray(wanted));
    EXPECT_EQ(fwVrf().prefixList().size(), wanted.size());
    for (const std::string& subnet : wanted) EXPECT_EQ(owner(subnet), "a") << subnet;
    bool hasWithdrawn = false;
    for (const std::string& line : sw().recorder.take()) {
      hasWithdrawn = hasWithdrawn || line.starts_with("- ");
      EXPECT_FALSE(hasWithdrawn && line.starts_with("+ ")) << line;
      for (const std::string& subnet : wanted) {
        if (std::find(before.begin(), before.end(), subnet) == before.end()) continue;
        EXPECT_NE(line, "- " + local("a", subnet));
        EXPECT_NE(line, "- " + wide(subnet));
      }
    }
  }
};
using Families = ::testing::Types<Ipv4, Ipv6>;
TYPED_TEST_SUITE(MatchListSwitchTest, Families);

TYPED_TEST(MatchListSwitchTest, InOneSourceEveryOrderOfThreeChoicesEndsWithTheLast) {
  const auto choices = this->choices();
  this->reactor("a");
  for (const auto& first : choices) {
    for (const auto& second : choices) {
      for (const auto& third : choices) {
        Texts before = this->subnets("a");
        for (const auto* choice : {&first, &second, &third}) {
          this->sw().recorder.take();
          this->choose(*choice);
          this->expectHas(choice->subnets, before);
          before = choice->subnets;
          if (this->HasFailure()) return;
        }
      }
    }
  }
}

TYPED_TEST(MatchListSwitchTest, InTwoSourcesTheLastChoiceCountsAndNoneKeepsWhatIsThere) {
  const auto choices = this->choices();
  const std::array<std::string, 2> sources{"cli", "cloud"};
  for (const std::string& source : sources) this->reactor("a", source);
  std::array<const ListSource*, 2> current{&choices[0].source, &choices[0].source};
  Texts wanted;
  for (std::size_t a = 0; a < choices.size(); ++a) {
    for (std::size_t b = 0; b < choices.size(); ++b) {
      for (std::size_t c = 0; c < choices.size(); ++c) {
        const std::array<std::pair<std::size_t, std::size_t>, 3> steps{{{0, a}, {1, b}, {0, c}}};
        for (const auto& [source, index] : steps) {
          const auto& choice = choices[index];
          const Texts before = wanted;
          const bool isSame = *current[source] == choice.source;
          current[source] = &choice.source;
          const bool isKept = choice.source.isNone() && !current[1 - source]->isNone();
          if (!isSame && !isKept) wanted = choice.subnets;
          this->sw().recorder.take();
          this->choose(choice, sources[source]);
          this->expectHas(wanted, before);
          if (this->HasFailure()) return;
        }
      }
    }
  }
}

TYPED_TEST(MatchListSwitchTest, ASourceThatLeavesWithdrawsWhatItAloneHeld) {
  this->matchList("m1", {this->net(1), this->net(2), this->net(3), this->net(4)});
  this->matchList("m2", {this->net(2)});
  this->matchList("m2", {this->net(3), TypeParam::withHostBits(4)}, "other");
  this->entry("p1", 10, this->net(1));
  this->entry("p1", 20, this->net(2), Acl::Action::deny);
  TypeParam::choose(*this->segment("a", "cloud"), ListSource::matchList("m2"));
  TypeParam::choose(*this->segment("a", "edge"), ListSource::prefixList("p1"));
  TypeParam::choose(*this->segment("a"), ListSource::matchList("m1"));
  const auto sm = this->reactor("a");
  this->sw().recorder.take();
  sm->cleanup();
  EXPECT_THAT(this->sw().recorder.take(),
              ElementsAre("- " + this->wide(this->net(4)), "- " + this->local("a", this->net(4))));
  EXPECT_THAT(this->subnets("a"), ElementsAre(this->net(1), this->net(2), this->net(3)));
}

TYPED_TEST(MatchListSwitchTest, OnlyTheSameSegmentOfAnEnabledSourceHoldsSomething) {
  this->matchList("m1", {this->net(1)});
  const auto choice = ListSource::matchList("m1");
  TypeParam::choose(*this->segment("a"), choice);
  const auto sm = this->reactor("a");
  TypeParam::choose(*this->segment("a", "disabled"), choice);
  this->sw().source("disabled")->enabledIs(false);
  TypeParam::choose(*this->segment("b", "cloud"), choice);
  TypeParam::chooseOther(*this->segment("a", "other family"), choice);
  const auto otherVrf = this->sw().source("cloud")->vrfIs("blue")->segmentIs("a");
  TypeParam::choose(*otherVrf, choice);
  TypeParam::choose(*this->segment("a", "missing list"), ListSource::matchList("nowhere"));
  TypeParam::choose(*this->segment("a", "missing prefixes"), ListSource::prefixList("nowhere"));
  TypeParam::choose(*this->segment("a", "meaningless"), ListSource(7, "m1"));
  this->sw().source("no VRF")->enabledIs(true);
  sm->cleanup();
  EXPECT_THAT(this->subnets("a"), IsEmpty());
  EXPECT_EQ(this->owner(this->net(1)), "");
}

TYPED_TEST(MatchListSwitchTest, APlainListChangeWithdrawsWhatAnotherSourceHolds) {
  this->matchList("m1", {this->net(1)});
  this->prefixList("p1", {this->net(1)});
  TypeParam::choose(*this->segment("a", "cloud"), ListSource::prefixList("p1"));
  TypeParam::choose(*this->segment("a"), ListSource::matchList("m1"));
  const auto sm = this->reactor("a");
  TypeParam::matchListDel(*this->sw().matchLists("lists"), "m1");
  EXPECT_THAT(this->subnets("a"), IsEmpty());
  TypeParam::handle(*this->reactor("a", "cloud"));
  TypeParam::clean(*sm);
  EXPECT_THAT(this->subnets("a"), IsEmpty());
}

TYPED_TEST(MatchListSwitchTest, AfterItsCleanupAReactorDoesNothing) {
  this->choices();
  TypeParam::choose(*this->segment("a"), ListSource::matchList("m1"));
  const auto sm = this->reactor("a");
  TestSupport::TraceCapture traces(8, "Firewall/*");
  sm->cleanup();
  EXPECT_TRUE(traces.saw(TypeParam::cleanLevel, TypeParam::cleanName, " segment: a name: lists"));
  EXPECT_FALSE(sm->isWorking());
  EXPECT_TRUE(sm->initialized());
  traces.clear();
  sm->cleanup();
  EXPECT_THAT(traces.texts(), IsEmpty());
  this->sw().recorder.take();
  TypeParam::choose(*this->segment("a"), ListSource::prefixList("p1"));
  EXPECT_TRUE(traces.saw(7, TypeParam::handleName, " return "));
  this->entry("p1", 50, this->net(5));
  TypeParam::choose(*this->segment("a"), ListSource::matchList("m2"));
  this->matchListAdd("m2", this->net(6));
  EXPECT_THAT(this->sw().recorder.take(), IsEmpty());
}

// What a subscriber to the output does to the input when `path` is written, once.
template <class Work>
TestSupport::OnWrite once(const Firewall::HwConfig::Ptr& hwConfig, const std::string& path,
                          const Work& work) {
  return TestSupport::OnWrite(hwConfig, [=, isDone = false](const Kiv::TreeChange& change) mutable {
    if (isDone || change.path != path) return;
    isDone = true;
    work();
  });
}

TYPED_TEST(MatchListSwitchTest, AListThatIsChosenWhileAnotherIsAppliedWins) {
  const auto choices = this->choices();
  for (const auto& first : choices) {
    for (const auto& second : choices) {
      if (first.subnets.empty() || first.source == second.source) continue;
      this->choose(choices[0]);
      this->reactor("a");
      const auto subscriber = once(this->sw().hwConfig, this->local("a", first.subnets.front()),
                                   [&] { this->choose(second); });
      this->choose(first);
      EXPECT_THAT(this->subnets("a"), UnorderedElementsAreArray(second.subnets));
    }
  }
}

TYPED_TEST(MatchListSwitchTest, AListThatIsChosenWhileStaleSubnetsAreWithdrawnWins) {
  const auto choices = this->choices();
  this->choose(choices[1]);
  this->reactor("a");
  const auto subscriber =
      once(this->sw().hwConfig, this->wide(this->net(1)), [&] { this->choose(choices[3]); });
  this->choose(choices[4]);
  EXPECT_THAT(this->subnets("a"), UnorderedElementsAreArray(choices[3].subnets));
}

TYPED_TEST(MatchListSwitchTest, AnEntryThatAppearsOrGoesWhileItsListIsAppliedIsFollowed) {
  this->choices();
  this->reactor("a");
  {
    const auto subscriber = once(this->sw().hwConfig, this->local("a", this->net(3)), [&] {
      this->entry("p1", 5, this->net(7));  // behind the walk
      TypeParam::entryDel(*this->sw().aclListConfig, "p1", 10);
    });
    TypeParam::choose(*this->segment("a"), ListSource::prefixList("p1"));
    EXPECT_THAT(this->subnets("a"), UnorderedElementsAreArray({this->net(3), this->net(7)}));
  }
  const auto subscriber = once(this->sw().hwConfig, this->local("a", this->net(2)), [&] {
    this->matchListAdd("m1", this->net(8));
    this->matchListRemove("m1", this->net(1));
  });
  TypeParam::choose(*this->segment("a"), ListSource::matchList("m1"));
  EXPECT_THAT(this->subnets("a"), UnorderedElementsAreArray({this->net(2), this->net(8)}));
}

TYPED_TEST(MatchListSwitchTest, ASegmentThatIsCleanedUpWhileItsListIsAppliedStaysEmpty) {
  this->choices();
  const auto sm = this->reactor("a");
  const auto subscriber =
      once(this->sw().hwConfig, this->local("a", this->net(1)), [&] { sm->cleanup(); });
  TypeParam::choose(*this->segment("a"), ListSource::matchList("m1"));
  EXPECT_THAT(this->subnets("a"), IsEmpty());
}

TYPED_TEST(MatchListSwitchTest, ASubscribersExceptionReachesTheWriterWhenAllIsApplied) {
  const auto choices = this->choices();
  const auto sm = this->reactor("a");
  for (const std::size_t index : {1U, 2U, 3U, 4U, 0U}) {
    const TestSupport::OnWrite thrower(
        this->sw().hwConfig, [](const Kiv::TreeChange&) { throw std::runtime_error("one"); });
    EXPECT_THROW(this->choose(choices[index]), std::runtime_error);
    EXPECT_THAT(this->subnets("a"), UnorderedElementsAreArray(choices[index].subnets));
    EXPECT_EQ(this->fwVrf().prefixList().size(), choices[index].subnets.size());
  }
  this->choose(choices[3]);
  const TestSupport::OnWrite thrower(
      this->sw().hwConfig, [](const Kiv::TreeChange&) { throw std::runtime_error("one"); });
  EXPECT_THROW(this->entry("p1", 10, this->net(9)), std::runtime_error);
  EXPECT_THAT(this->subnets("a"), ElementsAre(this->net(3), this->net(9)));
  EXPECT_THROW(TypeParam::prefixListDel(*this->sw().aclListConfig, "p1"), std::runtime_error);
  EXPECT_THAT(this->subnets("a"), IsEmpty());
  EXPECT_FALSE(sm->aclIpv4PrefixListHas("p1") || sm->aclIpv6PrefixListHas("p1"));
  EXPECT_THROW(this->choose(choices[1]), std::runtime_error);
  EXPECT_THROW(sm->cleanup(), std::runtime_error);
  EXPECT_THAT(this->subnets("a"), IsEmpty());
}

}  // namespace
