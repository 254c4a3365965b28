// The collection of list reactors in a path reactor: what it holds while lists come and go.
#include "Firewall/Prefixes/ListReactors.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "framework/Pith/RangeException.h"
#include "tests/Firewall/PathFixture.h"
#include "tests/support/TraceCapture.h"

namespace {

using Firewall::ListSource;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ListReactorsTest : public TestSupport::PathTest {
 protected:
  // A list that the configuration does not have.
  static MatchList::MatchIpv4PrefixListConfig::Ptr lone(const char* name) {
    return Kiv::make<MatchList::MatchIpv4PrefixListConfig>(name);
  }
  static std::vector<std::string> held(const Sm::Ptr& sm) {
    std::vector<std::string> names;
    for (const auto& reactor : sm->matchIpv4PrefixList()) {
      names.emplace_back(reactor->notifier()->name().view());
    }
    return names;
  }
};

TEST_F(ListReactorsTest, AListPutInByHandIsWalkedBehindThoseOfTheConfiguration) {
  matchList("web", {"10.0.0.0/8"});
  const auto sm = reactor("a");
  sm->matchIpv4PrefixListIs(lone("alone"));
  EXPECT_THAT(held(sm), ElementsAre("web", "alone"));
  EXPECT_EQ(sm->matchIpv4PrefixList().size(), 2U);
}

TEST_F(ListReactorsTest, AListPutInByHandIsWalkedOnceWhenTheConfigurationHasTheNameToo) {
  const auto sm = reactor("a");
  sm->matchIpv4PrefixListIs(lone("web"));
  sm->hasNotificationActiveIs(false);
  matchList("web", {"10.0.0.0/8"});
  EXPECT_THAT(held(sm), ElementsAre("web"));
  EXPECT_EQ(sm->matchIpv4PrefixList().size(), 1U);
}

TEST_F(ListReactorsTest, AllOfThemGoWhoeverPutThemIn) {
  matchList("web", {"10.0.0.0/8"});
  const auto sm = reactor("a");
  sm->matchIpv4PrefixListIs(lone("alone"));
  sm->matchIpv4PrefixListDelAll();
  EXPECT_THAT(held(sm), IsEmpty());
  EXPECT_EQ(sm->matchIpv4PrefixList().size(), 0U);
  EXPECT_FALSE(sm->matchIpv4PrefixListHas("alone"));
}

TEST_F(ListReactorsTest, AListThatWentLeavesNoReactorBehind) {
  matchList("web", {"10.0.0.0/8"});
  const auto sm = reactor("a");
  segment("a")->prefixIpv4MlIs(ListSource::matchList("web"));
  ASSERT_TRUE(sm->matchIpv4PrefixList("web"));
  sw().matchLists("lists")->matchIpv4PrefixListDel("web");
  EXPECT_FALSE(sm->matchIpv4PrefixList("web"));
  matchList("web", {"10.1.0.0/16"});
  EXPECT_EQ(sm->matchIpv4PrefixList("web")->notifier(),
            sw().matchLists("lists")->matchIpv4PrefixList("web"));
}

TEST_F(ListReactorsTest, AListIsHeldUntilItsGoingWasDealtWithWhateverElseIsHeld) {
  matchList("web", {"10.0.0.0/8"});
  const auto sm = reactor("a");
  segment("a")->prefixIpv4MlIs(ListSource::matchList("web"));
  sm->matchIpv4PrefixListIs(lone("alone"));
  std::vector<std::vector<std::string>> during;
  const TestSupport::OnWrite onWrite(sw().hwConfig, [&](const Kiv::TreeChange& change) {
    if (change.path.starts_with("vrf/red/segment")) during.push_back(held(sm));
  });
  sw().matchLists("lists")->matchIpv4PrefixListDel("web");
  EXPECT_THAT(during, ElementsAre(ElementsAre("alone", "web")));
  EXPECT_THAT(held(sm), ElementsAre("alone"));
}

TEST_F(ListReactorsTest, OneThatJoinsBeforeTheOthersHeardOfAListThatWentHasIt) {
  matchList("web", {"10.0.0.0/8"});
  segment("b")->prefixIpv4MlIs(ListSource::matchList("web"));
  const auto lists = sw().matchLists("lists");
  const TestSupport::OnWrite first(
      lists, [this](const Kiv::TreeChange&) { EXPECT_THAT(held(reactor("b")), IsEmpty()); });
  const auto sm = reactor("a");
  segment("a")->prefixIpv4MlIs(ListSource::matchList("web"));
  lists->matchIpv4PrefixListDel("web");
  EXPECT_THAT(held(sm), IsEmpty());
  EXPECT_THAT(subnets("a"), IsEmpty());
  EXPECT_THAT(subnets("b"), IsEmpty());
}

// The reactor that a subscriber makes while the others have not heard of the lists that changed
// holds those that are there, and follows them.
TEST_F(ListReactorsTest, OneThatJoinsWhileAListIsReplacedFollowsTheNewOne) {
  matchList("web", {"10.0.0.0/8"});
  segment("b")->prefixIpv4MlIs(ListSource::matchList("web"));
  const auto lists = sw().matchLists("lists");
  bool isGone = false;
  const TestSupport::OnWrite first(lists, [&](const Kiv::TreeChange& change) {
    if (change.path != "matchIpv4PrefixList/web") return;
    if (!lists->matchIpv4PrefixListHas("web")) {
      isGone = true;
      matchList("web", {"10.1.0.0/16"});
    } else if (isGone) {
      reactor("b");
    }
  });
  const auto sm = reactor("a");
  segment("a")->prefixIpv4MlIs(ListSource::matchList("web"));
  lists->matchIpv4PrefixListDel("web");
  matchListAdd("web", "10.2.0.0/16");
  for (const char* const name : {"a", "b"}) {
    EXPECT_THAT(subnets(name), ElementsAre("10.1.0.0/16", "10.2.0.0/16")) << name;
    EXPECT_THAT(held(reactor(name)), ElementsAre("web")) << name;
  }
}

TEST_F(ListReactorsTest, OneThatJoinsWhileAListGoesAndAnotherComesFollowsThatOne) {
  matchList("web", {"10.0.0.0/8"});
  segment("b")->prefixIpv4MlIs(ListSource::matchList("mail"));
  const auto lists = sw().matchLists("lists");
  const TestSupport::OnWrite first(lists, [&](const Kiv::TreeChange& change) {
    if (change.path == "matchIpv4PrefixList/web") lists->matchIpv4PrefixListIs("mail");
    if (change.path == "matchIpv4PrefixList/mail") reactor("b");
  });
  const auto sm = reactor("a");
  lists->matchIpv4PrefixListDel("web");
  matchListAdd("mail", "10.2.0.0/16");
  EXPECT_THAT(subnets("b"), ElementsAre("10.2.0.0/16"));
  for (const char* const name : {"a", "b"}) {
    EXPECT_THAT(held(reactor(name)), ElementsAre("mail")) << name;
  }
}

// A subscriber that hears of a segment's choice before its reactor does adds to the list: the
// reactor is told of that, and claims the prefix, before it takes the rest of the list; also when
// nobody traces.
TEST_F(ListReactorsTest, WhoHearsOfAListThatIsBeingChosenDoesNotDependOnTraces) {
  sw().hwCapability->globalPrefixListSupportedIs(true);
  for (const bool isTraced : {false, true}) {
    std::optional<TestSupport::TraceCapture> traces;
    if (isTraced) traces.emplace(8, "Firewall/*");
    const std::string name = isTraced ? "traced" : "untraced";
    matchList(name, {"10.0.0.0/8"});
    bool isFirst = true;
    const TestSupport::OnWrite early(segment(name), [&](const Kiv::TreeChange&) {
      if (std::exchange(isFirst, false)) matchListAdd(name, "10.1.0.0/16");
    });
    reactor(name);
    std::vector<std::string> claimed;
    const std::string local = "vrf/red/segment/" + name + "/subnets/";
    const TestSupport::OnWrite onWrite(sw().hwConfig, [&](const Kiv::TreeChange& change) {
      if (change.path.starts_with(local)) claimed.push_back(change.path.substr(local.size()));
    });
    segment(name)->prefixIpv4MlIs(ListSource::matchList(name));
    EXPECT_THAT(claimed, ElementsAre("10.1.0.0%2F16", "10.0.0.0%2F8")) << name;
  }
}

TEST_F(ListReactorsTest, AChoiceThatCannotBeReadKeepsNobodyFromHearing) {
  matchList("web", {"10.0.0.0/8"});
  for (const char* const name : {"a", "b", "c"}) {
    reactor(name);
    segment(name)->prefixIpv4MlIs(ListSource::matchList("web"));
  }
  EXPECT_THROW(segment("b")->prefixIpv4MlIs(ListSource(7, "web")), Pith::RangeException);
  EXPECT_THROW(matchListAdd("web", "10.1.0.0/16"), Pith::RangeException);
  for (const char* const name : {"a", "c"}) {
    EXPECT_THAT(subnets(name), ElementsAre("10.0.0.0/8", "10.1.0.0/16")) << name;
  }
  segment("b")->prefixIpv4MlIs(ListSource());
  drop("b");
  matchListAdd("web", "10.2.0.0/16");
  EXPECT_EQ(subnets("c").size(), 3U);
}

TEST_F(ListReactorsTest, AReactorThatIsMadeWhileNotificationsAreOffHasThemOff) {
  matchList("web", {"10.0.0.0/8"});
  const auto sm = reactor("a");
  sm->hasNotificationActiveIs(false);
  EXPECT_FALSE(sm->matchIpv4PrefixList("web")->hasNotificationActive());
  sm->hasNotificationActiveIs(true);
  EXPECT_TRUE(sm->matchIpv4PrefixList("web")->hasNotificationActive());
}

TEST_F(ListReactorsTest, AReactorThatIsPointedAtNothingIsFoundUnderItsNameAndMadeAnew) {
  matchList("web", {"10.0.0.0/8"});
  matchList("mail", {"10.1.0.0/16"});
  const auto sm = reactor("a");
  for (const char* const name : {"web", "mail"}) {
    sm->matchIpv4PrefixList(name)->notifierIs(nullptr);
  }
  EXPECT_FALSE(sm->matchIpv4PrefixList("web")->notifier());
  EXPECT_FALSE(sm->matchIpv4PrefixList("mail")->notifier());
  sm->hasNotificationActiveIs(false);
  sm->hasNotificationActiveIs(true);
  EXPECT_EQ(sm->matchIpv4PrefixList("web")->notifier(),
            sw().matchLists("lists")->matchIpv4PrefixList("web"));
}

TEST_F(ListReactorsTest, AReactorThatIsPointedAtNothingIsToldNothing) {
  matchList("web", {"10.0.0.0/8"});
  segment("a")->prefixIpv4MlIs(ListSource::matchList("web"));
  const auto sm = reactor("a");
  sm->matchIpv4PrefixList("web")->notifierIs(nullptr);
  matchListAdd("web", "10.1.0.0/16");
  EXPECT_EQ(subnets("a").size(), 1U);
}

TEST_F(ListReactorsTest, WhatIsNoPathAmongThePathsHasNoLists) {
  matchList("web", {"10.0.0.0/8"});
  const auto sm = reactor("a");
  sw().matchListConfigDir->newEntity<Firewall::Config>("a source");
  segment("a")->prefixIpv4MlIs(ListSource::matchList("web"));
  sw().matchLists("lists")->matchIpv4PrefixListDel("web");
  EXPECT_THAT(subnets("a"), IsEmpty());
}

TEST_F(ListReactorsTest, TheSegmentsOfAPathShareOneWatch) {
  const auto lists = sw().matchLists("lists");
  const auto shared = [&lists] {
    return lists->followed(Lanx::AddressFamily::ipv4).shared().use_count();
  };
  EXPECT_EQ(shared(), 0);
  reactor("a");
  reactor("b");
  EXPECT_EQ(shared(), 2);
  drop("a");
  drop("b");
  EXPECT_EQ(shared(), 0);
}

// For each of the four kinds of lists.
class ListReactorsStartTest : public ListReactorsTest, public testing::WithParamInterface<int> {
 protected:
  bool isIpv6() const { return GetParam() % 2 != 0; }
  bool isPrefixList() const { return GetParam() / 2 != 0; }
  std::string net(int n) const {
    return isIpv6() ? TestSupport::Ipv6::subnet(n) : TestSupport::Ipv4::subnet(n);
  }
  void add(int n) {
    if (isPrefixList()) {
      entry("web", static_cast<std::uint32_t>(n), net(n));
    } else {
      matchListAdd("web", net(n));
    }
  }
};

TEST_P(ListReactorsStartTest, WhatASubscriberAddsWhileThePathReactorStartsIsApplied) {
  add(2);
  const auto source = isPrefixList() ? ListSource::prefixList("web") : ListSource::matchList("web");
  if (isIpv6()) {
    segment("a")->prefixIpv6MlIs(source);
  } else {
    segment("a")->prefixIpv4MlIs(source);
  }
  bool isFirst = true;
  const TestSupport::OnWrite onWrite(sw().hwConfig, [&](const Kiv::TreeChange& change) {
    if (change.path == local("a", net(2)) && std::exchange(isFirst, false)) add(1);
  });
  reactor("a");
  // The list was walked past it.
  EXPECT_THAT(subnets("a"), ElementsAre(net(2), net(1)));
}

INSTANTIATE_TEST_SUITE_P(Lists, ListReactorsStartTest, testing::Range(0, 4), [](const auto& info) {
  return std::string(info.param / 2 != 0 ? "PrefixList" : "MatchList") +
         (info.param % 2 != 0 ? "Ipv6" : "Ipv4");
});

}  // namespace
