// Expansion while subscribers to its rules change the service, the policy and the rules.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <stdexcept>
#include <vector>

#include "tests/Firewall/RulesSupport.h"
#include "tests/support/TraceCapture.h"

namespace {

using Firewall::Action;
using Firewall::computeRuleId;
using Firewall::FwPolicy;
using Firewall::FwService;
using Firewall::Policy;
using Firewall::PortRange;
using ::testing::ElementsAre;
using TestSupport::idsOf;
using TestSupport::linesOf;
using TestSupport::prefix;
using TestSupport::Reaction;
using TestSupport::TraceCapture;

class RulesChangingTest : public TestSupport::RulesFixture {
 protected:
  // The input policy is no part of the configuration: what is changed in it does not compile it
  // again.
  void SetUp() override {
    RulesFixture::SetUp();
    policy_ = Kiv::make<Policy>("web");
    sw().hwConfig->policyIs("web");
    service_ = RulesFixture::service("s");
  }
  void TearDown() override {
    policy_ = nullptr;
    service_ = nullptr;
    RulesFixture::TearDown();
  }

  const Policy::Ptr& policy() { return policy_; }
  FwService& service() { return *service_; }
  FwPolicy& out() { return *fwPolicy("web"); }
  void expand(std::uint32_t seqnum) { rootSm().addServicePolicyRules(service_, policy_, seqnum); }

  // Calls react() when the nth rule has been written, n from 1.
  void expandWith(int nth, const std::function<void()>& react) {
    int written = 0;
    const Reaction reaction(out(), [&](Pith::FieldId, const void*, const Pith::Change& change) {
      if (change.current != nullptr && ++written == nth) react();
    });
    expand(7);
  }

 private:
  Policy::Ptr policy_;
  FwService::Ptr service_;
};

TEST_F(RulesChangingTest, PrefixAddedIsVisitedAndPrefixRemovedAheadIsNot) {
  service().srcIpPrefixIs(prefix("1.0.0.0/8"));
  service().srcIpPrefixIs(prefix("2.0.0.0/8"));
  service().srcIpPrefixIs(prefix("3.0.0.0/8"));
  expandWith(1, [this] {
    service().srcIpPrefixDel(prefix("2.0.0.0/8"));
    service().srcIpPrefixIs(prefix("0.0.0.0/8"));
  });
  EXPECT_THAT(lines("web"), ElementsAre("7/1 1.0.0.0/8 > unset any 0-65535 < 0-65535 drop",
                                        "7/2 3.0.0.0/8 > unset any 0-65535 < 0-65535 drop",
                                        "7/3 0.0.0.0/8 > unset any 0-65535 < 0-65535 drop"));
}

TEST_F(RulesChangingTest, ThePrefixAtHandMayGo) {
  service().srcIpPrefixIs(prefix("1.0.0.0/8"));
  service().srcIpPrefixIs(prefix("2.0.0.0/8"));
  service().protocolIs({8, 9});
  expandWith(1, [this] { service().srcIpPrefixDel(prefix("1.0.0.0/8")); });
  EXPECT_THAT(lines("web"), ElementsAre("7/1 1.0.0.0/8 > unset 8 0-65535 < 0-65535 drop",
                                        "7/2 1.0.0.0/8 > unset 9 0-65535 < 0-65535 drop",
                                        "7/3 2.0.0.0/8 > unset 8 0-65535 < 0-65535 drop",
                                        "7/4 2.0.0.0/8 > unset 9 0-65535 < 0-65535 drop"));
}

TEST_F(RulesChangingTest, OrderedWalksFindTheirPlaceByKey) {
  service().protocolIs({6, 6});
  service().dstPortIs({10, 10});
  service().dstPortIs({20, 20});
  service().dstPortIs({30, 30});
  expandWith(2, [this] {
    service().dstPortDel(20);       // at hand
    service().dstPortIs({15, 15});  // behind
    service().dstPortIs({25, 25});  // ahead
    service().dstPortIs({30, 39});  // ahead, changed
    service().protocolIs({17, 17});
  });
  EXPECT_THAT(
      lines("web"),
      ElementsAre(
          "7/1 unset > unset 6 10 < 0-65535 drop", "7/2 unset > unset 6 20 < 0-65535 drop",
          "7/3 unset > unset 6 25 < 0-65535 drop", "7/4 unset > unset 6 30-39 < 0-65535 drop",
          "7/5 unset > unset 17 10 < 0-65535 drop", "7/6 unset > unset 17 15 < 0-65535 drop",
          "7/7 unset > unset 17 25 < 0-65535 drop", "7/8 unset > unset 17 30-39 < 0-65535 drop"));
}

TEST_F(RulesChangingTest, TheServiceMayLeaveTheOutput) {
  service().protocolIs({8, 9});
  expandWith(1, [this] { sw().hwConfig->servicesDel("s"); });
  EXPECT_EQ(out().rule().size(), 2U);
}

TEST_F(RulesChangingTest, TheConfiguredRuleIsReadForEachRule) {
  policy()->ruleIs(7U, Pith::String(), Action::forward);
  service().protocolIs({1, 4});
  int written = 0;
  const Reaction reaction(out(), [&](Pith::FieldId, const void*, const Pith::Change& change) {
    if (change.current == nullptr) return;
    ++written;
    if (written == 1) policy()->ruleIs(7U, Pith::String(), Action::redirect);
    if (written == 2) policy()->ruleDel(7);
    if (written == 3) policy()->ruleIs(7U, Pith::String(), Action::forward);
  });
  expand(7);
  EXPECT_THAT(lines("web"), ElementsAre("7/1 unset > unset 1 0-65535 < 0-65535 forward",
                                        "7/2 unset > unset 2 0-65535 < 0-65535 redirect",
                                        "7/3 unset > unset 3 0-65535 < 0-65535 drop",
                                        "7/4 unset > unset 4 0-65535 < 0-65535 forward"));
}

TEST_F(RulesChangingTest, OtherConfiguredRulesMayComeAndGo) {
  for (std::uint32_t seqnum = 0; seqnum < 40; ++seqnum) {
    policy()->ruleIs(seqnum, Pith::String(), seqnum == 7 ? Action::forward : Action::drop);
  }
  service().protocolIs({1, 40});
  std::uint32_t next = 0;
  const Reaction reaction(out(), [&](Pith::FieldId, const void*, const Pith::Change& change) {
    if (change.current == nullptr) return;
    if (next != 7) policy()->ruleDel(next);
    policy()->ruleIs(100 + next++, Pith::String(), Action::redirect);
  });
  expand(7);
  ASSERT_EQ(out().rule().size(), 40U);
  for (const auto& entry : out().rule()) EXPECT_EQ(entry.value.action, Action::forward);
}

TEST_F(RulesChangingTest, PolicyThatLeavesTheOutputEndsTheExpansion) {
  service().protocolIs({1, 9});
  const TraceCapture traces(3);
  expandWith(2, [this] { sw().hwConfig->policyDel("web"); });
  EXPECT_EQ(traces.texts().size(), 3U);
  EXPECT_EQ(traces.texts().back(), "Policy web not found");
}

TEST_F(RulesChangingTest, PolicyMadeAnewGetsTheRestFromTheFirstIndexOn) {
  service().protocolIs({1, 5});
  const FwPolicy::Ptr old = fwPolicy("web");
  expandWith(2, [this] {
    sw().hwConfig->policyDel("web");
    sw().hwConfig->policyIs("web");
  });
  EXPECT_EQ(linesOf(*old).size(), 2U);
  EXPECT_THAT(lines("web"), ElementsAre("7/1 unset > unset 3 0-65535 < 0-65535 drop",
                                        "7/2 unset > unset 4 0-65535 < 0-65535 drop",
                                        "7/3 unset > unset 5 0-65535 < 0-65535 drop"));
}

TEST_F(RulesChangingTest, IndexFreedMeanwhileIsUsedNext) {
  service().protocolIs({1, 5});
  expandWith(3, [this] { out().ruleDel(computeRuleId(7, 1)); });
  EXPECT_THAT(lines("web"), ElementsAre("7/1 unset > unset 4 0-65535 < 0-65535 drop",
                                        "7/2 unset > unset 2 0-65535 < 0-65535 drop",
                                        "7/3 unset > unset 3 0-65535 < 0-65535 drop",
                                        "7/4 unset > unset 5 0-65535 < 0-65535 drop"));
}

TEST_F(RulesChangingTest, IndexTakenMeanwhileIsLeftOut) {
  service().protocolIs({1, 3});
  Firewall::FwRule other;
  other.seqnum = 7;
  int written = 0;
  const Reaction reaction(out(), [&](Pith::FieldId, const void*, const Pith::Change&) {
    if (++written == 1) out().ruleIs(computeRuleId(7, 2), other);
  });
  expand(7);
  EXPECT_THAT(idsOf(out()),
              ElementsAre(7U << 22U | 1U, 7U << 22U | 2U, 7U << 22U | 3U, 7U << 22U | 4U));
  EXPECT_EQ(out().rule(computeRuleId(7, 3))->protocol->value(), 2);
}

TEST_F(RulesChangingTest, SourceDisabledMeanwhileEndsTheExpansion) {
  service().protocolIs({1, 9});
  const FwPolicy::Ptr old = fwPolicy("web");
  const auto sm = sw().rootSm("cli");
  const TraceCapture traces(7);
  expandWith(2, [this] { config().enabledIs(false); });
  EXPECT_EQ(old->rule().size(), 2U);
  EXPECT_EQ(traces.texts().back(), " not initialized - return false");
}

TEST_F(RulesChangingTest, ExceptionOfASubscriberReachesTheCallerAndLeavesTheTableUsable) {
  service().protocolIs({1, 3});
  {
    const Reaction reaction(out(), [](Pith::FieldId, const void*, const Pith::Change&) {
      throw std::runtime_error("subscriber");
    });
    EXPECT_THROW(expand(7), std::runtime_error);
  }
  rootSm().deletePolicyRules(policy(), 7);
  expand(7);
  EXPECT_EQ(out().rule().size(), 3U);
}

// A set walked in insertion order, where what is removed and added again is the last.
template <class T>
class InsertionOrder {
 public:
  void add(const T& member) {
    if (std::find(alive_.begin(), alive_.end(), member) != alive_.end()) return;
    all_.push_back({member, true});
    alive_.push_back(member);
  }
  void remove(const T& member) {
    std::erase(alive_, member);
    for (auto& [each, isAlive] : all_) isAlive = isAlive && each != member;
  }
  bool empty() const { return alive_.empty(); }
  template <class Use>
  void each(const Use& use) const {
    for (std::size_t at = 0; at < all_.size(); ++at) {
      if (all_[at].second) use(T(all_[at].first));
    }
  }

 private:
  std::vector<std::pair<T, bool>> all_;
  std::vector<T> alive_;
};

// Both a service and a plain model of one, changed alike at the same rules.
class ServiceAndModel {
 public:
  ServiceAndModel(FwService& service, unsigned seed) : service_(service), random_(seed) {}

  unsigned below(unsigned bound) {
    return std::uniform_int_distribution<unsigned>(0, bound - 1)(random_);
  }
  // What change `number` does is a function of the seed.
  struct Change {
    unsigned set;
    bool adds;
    std::uint16_t member;
  };
  Change randomChange() {
    return {below(4), below(3) != 0, static_cast<std::uint16_t>(1 + below(6))};
  }
  static Lanx::IpGenPrefix prefixOf(std::uint16_t member) {
    return Lanx::Prefix(Lanx::IpAddr(std::uint32_t{member} << 24U), 8);
  }
  void applyToService(const Change& change) {
    if (change.adds) {
      addToService(change.set, change.member);
    } else {
      removeFromService(change.set, change.member);
    }
  }
  void addToService(unsigned set, std::uint16_t member) {
    const PortRange port(member, member);
    if (set == 0) service_.srcIpPrefixIs(prefixOf(member));
    if (set == 1) service_.protocolIs(protocolOf(member));
    if (set == 2) service_.dstPortIs(port);
    if (set == 3) service_.srcPortIs(port);
  }
  void removeFromService(unsigned set, std::uint16_t member) {
    if (set == 0) service_.srcIpPrefixDel(prefixOf(member));
    if (set == 1) service_.protocolDel(protocolOf(member));
    if (set == 2) service_.dstPortDel(member);
    if (set == 3) service_.srcPortDel(member);
  }
  void applyToModel(const Change& change) {
    if (change.set == 0) {
      change.adds ? prefixes_.add(change.member) : prefixes_.remove(change.member);
    } else {
      auto& set = change.set == 1 ? protocols_ : change.set == 2 ? dstPorts_ : srcPorts_;
      if (change.adds) {
        set.insert(change.member);
      } else {
        set.erase(change.member);
      }
    }
  }

  // "prefix protocol dst src" of each rule in order; 0 for none or all.
  std::vector<std::string> modelRules(const std::vector<Change>& changes) {
    std::vector<std::string> rules;
    const auto install = [&](int prefix, int protocol, int dst, int src) {
      rules.push_back(std::to_string(prefix) + " " + std::to_string(protocol) + " " +
                      std::to_string(dst) + " " + std::to_string(src));
      if (rules.size() <= changes.size()) applyToModel(changes[rules.size() - 1]);
    };
    const auto eachPort = [&](int prefix, int protocol) {
      orderedOr(dstPorts_, [&](int dst) {
        orderedOr(srcPorts_, [&](int src) { install(prefix, protocol, dst, src); });
      });
    };
    const auto eachProtocol = [&](int prefix) {
      orderedOr(protocols_, [&](int member) {
        const int protocol =
            member == 0 ? 0 : protocolOf(static_cast<std::uint16_t>(member)).start();
        if (protocol == 6 || protocol == 17) {
          eachPort(prefix, protocol);
        } else {
          install(prefix, protocol, 0, 0);
        }
      });
    };
    if (prefixes_.empty()) {
      eachProtocol(0);
    } else {
      prefixes_.each(eachProtocol);
    }
    return rules;
  }

 private:
  static Firewall::ProtocolRange protocolOf(std::uint16_t member) {
    constexpr std::uint8_t protocols[] = {1, 6, 9, 17, 47, 50};
    const std::uint8_t protocol = protocols[member - 1];
    return {protocol, protocol};
  }
  template <class Use>
  static void orderedOr(const std::set<std::uint16_t>& set, const Use& use) {
    if (set.empty()) {
      use(0);
      return;
    }
    for (auto at = set.begin(); at != set.end();) {
      const std::uint16_t member = *at;
      use(int{member});
      at = set.upper_bound(member);
    }
  }

  FwService& service_;
  std::mt19937 random_;
  InsertionOrder<std::uint16_t> prefixes_;
  std::set<std::uint16_t> protocols_;
  std::set<std::uint16_t> dstPorts_;
  std::set<std::uint16_t> srcPorts_;
};

TEST_F(RulesChangingTest, AgreesWithPlainLoopsUnderRandomChanges) {
  std::size_t total = 0;
  for (unsigned seed = 0; seed < 300; ++seed) {
    ServiceAndModel both(service(), seed);
    for (unsigned n = both.below(12); n > 0; --n) {
      const auto change = both.randomChange();
      both.applyToService(change);
      both.applyToModel(change);
    }
    std::vector<ServiceAndModel::Change> changes;
    for (unsigned n = both.below(30); n > 0; --n) changes.push_back(both.randomChange());

    std::vector<std::string> written;
    {
      const Reaction reaction(out(), [&](Pith::FieldId, const void*, const Pith::Change& change) {
        const auto& rule = *static_cast<const Firewall::FwRule*>(change.current);
        const auto port = [](const PortRange& range) {
          return std::to_string(range == PortRange::all() ? 0 : range.start());
        };
        written.push_back(
            std::to_string(rule.sip.isSet() ? rule.sip.address().ipv4().value() >> 24U : 0) + " " +
            std::to_string(rule.protocol ? rule.protocol->value() : 0) + " " + port(rule.dstPort) +
            " " + port(rule.srcPort));
        if (written.size() <= changes.size()) both.applyToService(changes[written.size() - 1]);
      });
      expand(7);
    }
    ASSERT_EQ(written, both.modelRules(changes)) << "seed " << seed;
    total += written.size();
    rootSm().deletePolicyRules(policy(), 7);
    service().srcIpPrefixDelAll();
    service().protocolDelAll();
    service().dstPortDelAll();
    service().srcPortDelAll();
    sw().recorder.take();
  }
  EXPECT_GT(total, 700U);
}

// Checks each written identifier against one probe an index over a table of its own.
class IdentifierProbe {
 public:
  explicit IdentifierProbe(const FwPolicy& policy)
      : reaction_(policy, [this](Pith::FieldId field, const void* key, const Pith::Change& change) {
          if (field != FwPolicy::ruleField) return;
          const auto id = *static_cast<const std::uint32_t*>(key);
          if (change.current == nullptr) {
            ids_.erase(id);
            return;
          }
          std::uint32_t index = 1;
          const std::uint32_t seqnum = Firewall::ruleSeqnum(id);
          while (ids_.contains(seqnum << 22U | index)) ++index;
          EXPECT_EQ(id, seqnum << 22U | index);
          ids_.insert(id);
        }) {}

  const std::set<std::uint32_t>& ids() const { return ids_; }

 private:
  std::set<std::uint32_t> ids_;
  Reaction reaction_;
};

TEST_F(RulesChangingTest, IdentifiersAreTheLowestFreeOnesInRandomHistories) {
  std::mt19937 random(99);
  const auto below = [&](unsigned bound) {
    return std::uniform_int_distribution<unsigned>(0, bound - 1)(random);
  };
  const IdentifierProbe probe(out());
  const auto anyRule = [&] {
    auto at = probe.ids().begin();
    std::advance(at, below(static_cast<unsigned>(probe.ids().size())));
    return *at;
  };
  bool isReacting = false;
  const Reaction deletes(out(), [&](Pith::FieldId, const void*, const Pith::Change& change) {
    if (isReacting || change.current == nullptr || below(4) != 0) return;
    isReacting = true;
    out().ruleDel(anyRule());
    isReacting = false;
  });
  service().protocolIs({1, 5});
  for (int step = 0; step < 1000; ++step) {
    const std::uint32_t seqnum = below(2) == 0 ? below(3) : 1021 + below(3);
    switch (below(8)) {
      case 0:
        rootSm().deletePolicyRules(policy(), seqnum);
        break;
      case 1:
      case 2:
        expand(seqnum);
        break;
      case 3:
        if (!probe.ids().empty()) out().ruleDel(anyRule());
        break;
      default:
        rootSm().addPolicyRule(policy(), seqnum, {}, {}, {}, PortRange::all(), PortRange::all());
        break;
    }
    sw().recorder.take();
  }
  EXPECT_THAT(idsOf(out()), ::testing::ElementsAreArray(probe.ids()));
}

}  // namespace
