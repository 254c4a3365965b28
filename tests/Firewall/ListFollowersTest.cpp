// Who is told of a change in a list, while path reactors join, leave and choose. Over the four
// kinds of lists: of match lists and of prefix lists, for each family.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <string>
#include <utility>

#include "tests/Firewall/PathFixture.h"
#include "tests/support/TraceCapture.h"

namespace {

using Firewall::ListSource;
using ::testing::ElementsAre;
using TestSupport::OnWrite;
using TestSupport::TraceCapture;

struct ListKind {
  bool isPrefixList;
  bool isIpv6;
};

std::string nameOf(const ListKind& kind) {
  return std::string(kind.isPrefixList ? "PrefixList" : "MatchList") +
         (kind.isIpv6 ? "Ipv6" : "Ipv4");
}
void PrintTo(const ListKind& kind, std::ostream* out) { *out << nameOf(kind); }

class ListFollowersTest : public TestSupport::PathTest,
                          public testing::WithParamInterface<ListKind> {
 protected:
  static bool isPrefixList() { return GetParam().isPrefixList; }
  static bool isIpv6() { return GetParam().isIpv6; }
  static std::string net(int n) {
    return isIpv6() ? TestSupport::Ipv6::subnet(n) : TestSupport::Ipv4::subnet(n);
  }
  void add(const std::string& list, int n) {
    if (isPrefixList()) {
      entry(list, static_cast<std::uint32_t>(n), net(n));
    } else {
      matchListAdd(list, net(n));
    }
  }
  void choose(const std::string& segmentName, const std::string& list) {
    const auto source = isPrefixList() ? ListSource::prefixList(list) : ListSource::matchList(list);
    const auto chooser = segment(segmentName);
    isIpv6() ? chooser->prefixIpv6MlIs(source) : chooser->prefixIpv4MlIs(source);
  }
  // Takes the list out of the configuration.
  void del(const std::string& list) {
    const auto lists = sw().matchLists("lists");
    if (isPrefixList()) {
      isIpv6() ? sw().aclListConfig->ipv6PrefixListDel(list)
               : sw().aclListConfig->prefixListDel(list);
    } else {
      isIpv6() ? lists->matchIpv6PrefixListDel(list) : lists->matchIpv4PrefixListDel(list);
    }
  }
  // The list as the configuration has it.
  Pith::Ptr<const Kiv::Entity> present(const std::string& list) {
    const auto lists = sw().matchLists("lists");
    if (isPrefixList() && isIpv6()) return sw().aclListConfig->ipv6PrefixList(list);
    if (isPrefixList()) return sw().aclListConfig->prefixList(list);
    if (isIpv6()) return lists->matchIpv6PrefixList(list);
    return lists->matchIpv4PrefixList(list);
  }
  // The nested reactor of the list.
  static Pith::Ptr<Kiv::ReactorBase> nested(const Sm::Ptr& sm, const char* list) {
    if (isPrefixList() && isIpv6()) return sm->aclIpv6PrefixList(list);
    if (isPrefixList()) return sm->aclIpv4PrefixList(list);
    if (isIpv6()) return sm->matchIpv6PrefixList(list);
    return sm->matchIpv4PrefixList(list);
  }
};

TEST_P(ListFollowersTest, WhoJoinsWhileAChangeIsToldIsNotToldOfIt) {
  add("web", 1);
  reactor("a");
  choose("a", "web");
  choose("b", "web");
  // Of traced changes all are told, otherwise those who chose the list.
  for (const int level : {6, 9}) {
    drop("b");
    const std::string fresh = net(level);
    bool isFirst = true;
    const OnWrite onWrite(sw().hwConfig, [&](const Kiv::TreeChange& change) {
      if (change.path == local("a", fresh) && std::exchange(isFirst, false)) reactor("b");
    });
    const TraceCapture traces(level);
    add("web", level);
    EXPECT_FALSE(isFirst);
    EXPECT_THAT(subnets("b"), testing::Contains(fresh)) << "it read the list when it started";
    EXPECT_EQ(traces.count(6, "addMatchListConfiguredSubnet",
                           " Add request for subnet: " + fresh + " in segment: b name: lists"),
              1U);
  }
}

TEST_P(ListFollowersTest, TheLastWhoLeavesAndComesBackWhileAChangeIsToldWatchesTheListsAnew) {
  add("web", 1);
  const auto sm = reactor("a");
  choose("a", "web");
  bool isFirst = true;
  const OnWrite onWrite(sw().hwConfig, [&](const Kiv::TreeChange& change) {
    if (change.path != local("a", net(2)) || !std::exchange(isFirst, false)) return;
    sm->hasNotificationActiveIs(false);
    del("web");
    add("web", 1);
    sm->hasNotificationActiveIs(true);
  });
  add("web", 2);
  EXPECT_FALSE(isFirst);
  add("web", 3);
  EXPECT_THAT(subnets("a"), testing::Contains(net(3)));
}

TEST_P(ListFollowersTest, AListThatAZombieKeptIsNotWatchedOnceItsNotificationsAreOff) {
  add("web", 1);
  const auto sm = reactor("a");
  choose("a", "web");
  const auto list = present("web");
  sm->kivDoZombieReactors(true);
  del("web");
  EXPECT_EQ(list->publisher().subscriberCount(), 1U);
  sm->hasNotificationActiveIs(false);
  EXPECT_EQ(list->publisher().subscriberCount(), 0U);
}

TEST_P(ListFollowersTest, AListThatAZombieHasNotDealtWithIsNotFollowed) {
  add("web", 1);
  const auto sm = reactor("a");
  choose("a", "web");
  sm->kivDoZombieReactors(true);
  del("web");
  add("web", 2);
  EXPECT_THAT(subnets("a"), ElementsAre(net(1)));
}

TEST_P(ListFollowersTest, AListWhoseLastFollowerLeftIsNotWatched) {
  add("web", 1);
  const auto list = present("web");
  reactor("a");
  reactor("b");
  EXPECT_EQ(list->publisher().subscriberCount(), 1U);
  drop("a");
  EXPECT_EQ(list->publisher().subscriberCount(), 1U);
  drop("b");
  EXPECT_EQ(list->publisher().subscriberCount(), 0U);
}

TEST_P(ListFollowersTest, ANestedReactorWithItsOwnNotificationsOffHearsNothing) {
  add("web", 1);
  const auto sm = reactor("a");
  choose("a", "web");
  nested(sm, "web")->hasNotificationActiveIs(false);
  add("web", 2);
  EXPECT_THAT(subnets("a"), ElementsAre(net(1)));
  nested(sm, "web")->hasNotificationActiveIs(true);
  add("web", 3);
  EXPECT_THAT(subnets("a"), ElementsAre(net(1), net(3)));
}

TEST_P(ListFollowersTest, AZombieAppliesNoChoiceButHearsOfTheListItChoseOnceItIsBack) {
  add("web", 1);
  add("mail", 2);
  const auto sm = reactor("a");
  choose("a", "web");
  sm->kivDoZombieReactors(true);
  choose("a", "mail");
  EXPECT_THAT(subnets("a"), ElementsAre(net(1)));
  sm->kivDoZombieReactors(false);
  add("mail", 3);
  EXPECT_THAT(subnets("a"), ElementsAre(net(1), net(3)));
  add("web", 4);
  EXPECT_THAT(subnets("a"), ElementsAre(net(1), net(3)));
}

INSTANTIATE_TEST_SUITE_P(Lists, ListFollowersTest,
                         testing::Values(ListKind{false, false}, ListKind{false, true},
                                         ListKind{true, false}, ListKind{true, true}),
                         [](const auto& info) { return nameOf(info.param); });

}  // namespace
