// The reactors of match-list paths share their subscriptions to the lists and make the reactor of a
// list when it is wanted. Here the same random histories are lived again with everybody told of
// everything, as is done while traces are on, and with every list's reactor made after every step:
// the writes have to be the same.
#include <gtest/gtest.h>

#include <optional>
#include <random>
#include <string>
#include <vector>

#include "Firewall/Sources/RootFeatureEnableSm.h"
#include "Firewall/Sources/RootSm.h"
#include "tests/support/Switch.h"
#include "tests/support/TraceCapture.h"

namespace {

using Firewall::ListSource;

enum class Telling { followersAlone, everybody, everybodyAndAllReactors };

class SharedListsHistory {
 public:
  SharedListsHistory(unsigned seed, Telling telling) : random_(seed), telling_(telling) {
    if (telling != Telling::followersAlone) traces_.emplace(8, "Firewall/*");
    sw_.hwCapability->globalPrefixListSupportedIs(true);
    sw_.ipStatus->vrfIs(vrf_);
    sw_.start();
  }

  // What the next change writes.
  std::vector<std::string> step() {
    change();
    if (traces_) traces_->clear();
    if (telling_ == Telling::everybodyAndAllReactors) expectAllReactors();
    return sw_.recorder.take();
  }

 private:
  unsigned below(unsigned bound) {
    return std::uniform_int_distribution<unsigned>(0, bound - 1)(random_);
  }

  void change() {
    const auto source = sw_.source(below(3) == 0 ? "web" : "cli");
    const auto vrf = source->vrfIs(vrf_);
    const Pith::String list(std::string(1, static_cast<char>('a' + below(4))));
    const Pith::String segment("segment" + std::to_string(below(4)));
    const std::string number = std::to_string(below(6));
    const auto subnet = Lanx::IpAddrWithMask::parse("10." + number + ".0.0/16");
    const auto subnet6 = Lanx::Ip6AddrWithMask::parse("2001:db8:" + number + "::/48");
    const std::uint32_t seqnum = below(4);
    const auto action = below(3) == 0 ? Acl::Action::deny : Acl::Action::permit;
    const unsigned choice = below(8);
    const auto chosen = choice == 0  ? ListSource()
                        : choice < 5 ? ListSource::matchList(list)
                                     : ListSource::prefixList(list);
    switch (below(20)) {
      case 0:
        lists_->matchIpv4PrefixListDel(list);
        break;
      case 1:
        lists_->matchIpv6PrefixListDel(list);
        break;
      case 2:
        sw_.aclListConfig->prefixListDel(list);
        break;
      case 3:
        source->enabledIs(!source->enabled());
        break;
      case 4:
        vrf->segmentDel(segment);
        break;
      case 5:
      case 6:
      case 7:
        if (const auto there = lists_->matchIpv4PrefixList(list)) there->subnetsDel(subnet);
        break;
      case 8:
        if (const auto there = lists_->matchIpv6PrefixList(list)) there->subnetsDel(subnet6);
        break;
      case 9:
        if (const auto there = sw_.aclListConfig->prefixList(list)) there->prefixEntryDel(seqnum);
        break;
      case 10:
      case 11:
      case 12:
        vrf->segmentIs(segment)->prefixIpv4MlIs(chosen);
        break;
      case 13:
        vrf->segmentIs(segment)->prefixIpv6MlIs(chosen);
        break;
      case 14:
      case 15:
        sw_.aclListConfig->prefixListIs(list)->prefixEntryIs(seqnum, Lanx::Prefix(subnet.subnet()),
                                                             action);
        break;
      case 16:
        lists_->matchIpv6PrefixListIs(list)->subnetsIs(subnet6);
        break;
      default:
        lists_->matchIpv4PrefixListIs(list)->subnetsIs(subnet);
        break;
    }
  }

  template <class Collection>
  static std::vector<std::string> namesOf(const Collection& lists) {
    std::vector<std::string> names;
    for (const auto& list : lists) names.emplace_back(list->name().view());
    return names;
  }
  template <class Reactors>
  static std::vector<std::string> listsOf(const Reactors& reactors) {
    std::vector<std::string> names;
    for (const auto& reactor : reactors) names.emplace_back(reactor->notifier()->name().view());
    return names;
  }

  void expectAllReactors() const {
    for (const char* const source : {"cli", "web"}) {
      const auto root = sw_.rootSm(source);
      const auto vrf = root ? root->vrfSm(vrf_) : nullptr;
      if (!vrf) continue;
      for (const auto& segment : vrf->segmentSm()) {
        const auto path = segment->mlConfigPathSm("lists");
        ASSERT_EQ(listsOf(path->matchIpv4PrefixList()), namesOf(lists_->matchIpv4PrefixList()));
        ASSERT_EQ(listsOf(path->matchIpv6PrefixList()), namesOf(lists_->matchIpv6PrefixList()));
        ASSERT_EQ(listsOf(path->aclIpv4PrefixList()), namesOf(sw_.aclListConfig->prefixList()));
      }
    }
  }

  const L3::VrfName vrf_{"red"};
  std::mt19937 random_;
  Telling telling_;
  std::optional<TestSupport::TraceCapture> traces_;
  TestSupport::Switch sw_;
  MatchList::Config::Ptr lists_ = sw_.matchLists("lists");
};

TEST(SharedListsTest, TellingFollowersAloneWritesWhatTellingEverybodyDoes) {
  std::size_t writes = 0;
  for (unsigned seed = 0; seed < 20; ++seed) {
    SharedListsHistory followers(seed, Telling::followersAlone);
    std::vector<std::vector<std::string>> written(300);
    for (auto& lines : written) writes += (lines = followers.step()).size();
    for (const Telling telling : {Telling::everybody, Telling::everybodyAndAllReactors}) {
      SharedListsHistory history(seed, telling);
      for (std::size_t step = 0; step < written.size(); ++step) {
        ASSERT_EQ(history.step(), written[step]) << "seed " << seed << ", step " << step;
      }
    }
  }
  EXPECT_GT(writes, 4'000U);
}

}  // namespace
