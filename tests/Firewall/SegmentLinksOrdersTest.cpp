// Links are there exactly while both their ends are, in whatever order two segments, their policy,
// their VRF and the whole source appear and vanish.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <numeric>
#include <random>
#include <string>

#include "tests/support/Switch.h"

namespace {

using Firewall::FwSegment;
using Firewall::FwSegmentDir;

enum Part : unsigned { segmentA, segmentB, policy, vrf, source, partCount };
constexpr std::array<const char*, partCount> partNames = {"segment a", "segment b", "policy", "VRF",
                                                          "source"};
using Order = std::array<unsigned, partCount>;

class SegmentLinksOrdersTest : public TestSupport::SwitchTest {
 protected:
  void SetUp() override {
    SwitchTest::SetUp();
    config_ = sw().source("cli");
    sw().start();
  }
  void TearDown() override {
    config_ = nullptr;
    SwitchTest::TearDown();
  }

  // In the VRF and in the L2 directory alike: a and b name each other under the policy, and a
  // itself and a segment that never is; both fall back on the policy.
  void appear(unsigned part) {
    has_[part] = true;
    switch (part) {
      case segmentA:
        make("a", {"b", "a", "never"});
        break;
      case segmentB:
        make("b", {"a"});
        break;
      case policy:
        config_->policyIs("web");
        break;
      case vrf:
        sw().ipStatus->vrfIs("red");
        break;
      default:
        config_->enabledIs(true);
        break;
    }
  }

  void vanish(unsigned part) {
    has_[part] = false;
    switch (part) {
      case segmentA:
      case segmentB:
        config_->vrf("red")->segmentDel(part == segmentA ? "a" : "b");
        config_->l2SegmentDir()->segmentDel(part == segmentA ? "a" : "b");
        break;
      case policy:
        config_->policyDel("web");
        break;
      case vrf:
        sw().ipStatus->vrfDel("red");
        break;
      default:
        config_->enabledIs(false);
        break;
    }
  }

  void expectLinks(const std::string& after) {
    SCOPED_TRACE(after);
    expectLinksIn(has_[vrf] ? sw().hwConfig->vrf("red") : nullptr, has_[source] && has_[vrf]);
    expectLinksIn(sw().hwConfig->l2Seg(), has_[source]);
  }

 private:
  void make(const char* name, std::initializer_list<const char*> froms) {
    for (const Firewall::SegmentDir::Ptr& directory :
         {Firewall::SegmentDir::Ptr(config_->vrfIs("red")), config_->l2SegmentDirIs("l2")}) {
      const auto made = directory->segmentIs(name);
      for (const char* from : froms) made->policyIs(from, "web");
      made->fallbackPolicyIs("web");
    }
  }

  void expectLinksIn(const Pith::Ptr<FwSegmentDir>& directory, bool active) {
    const auto a = directory ? directory->segment("a") : nullptr;
    const auto b = directory ? directory->segment("b") : nullptr;
    ASSERT_EQ(static_cast<bool>(a), active && has_[segmentA]);
    ASSERT_EQ(static_cast<bool>(b), active && has_[segmentB]);
    if (a) {
      expectLink(*a, "a", a);
      expectLink(*a, "b", b);
      EXPECT_FALSE(a->fromSegmentHas("never"));
      EXPECT_EQ(a->fallbackPolicy(), sw().hwConfig->policy("web"));
    }
    if (b) {
      expectLink(*b, "a", a);
      EXPECT_EQ(b->fallbackPolicy(), sw().hwConfig->policy("web"));
    }
  }
  void expectLink(const FwSegment& target, const char* from, const FwSegment::Ptr& end) {
    const auto* const link = target.fromSegment(from);
    ASSERT_EQ(link != nullptr, end && has_[policy]) << target.name() << " from " << from;
    if (link == nullptr) return;
    EXPECT_EQ(link->segment, end);
    EXPECT_EQ(link->policy, sw().hwConfig->policy("web"));
  }

  Firewall::Config::Ptr config_;
  std::array<bool, partCount> has_{};
};

std::string text(const char* what, const Order& order, unsigned upTo) {
  std::string result;
  for (unsigned i = 0; i <= upTo; ++i) result += std::string(what) + partNames[order[i]] + " ";
  return result;
}

TEST_F(SegmentLinksOrdersTest, EveryOrderOfAppearanceAndVanishing) {
  Order order{};
  std::iota(order.begin(), order.end(), 0U);
  std::mt19937 random(5);
  do {
    Order back = order;
    std::shuffle(back.begin(), back.end(), random);
    for (unsigned i = 0; i < partCount; ++i) {
      appear(order[i]);
      expectLinks(text("+", order, i));
    }
    for (unsigned i = 0; i < partCount; ++i) {
      vanish(back[i]);
      expectLinks(text("+", order, partCount - 1) + text("-", back, i));
    }
    sw().recorder.take();
  } while (std::next_permutation(order.begin(), order.end()) && !HasFailure());
}

TEST_F(SegmentLinksOrdersTest, EveryOrderOfVanishing) {
  Order back{};
  std::iota(back.begin(), back.end(), 0U);
  do {
    for (unsigned part = 0; part < partCount; ++part) appear(part);
    for (unsigned i = 0; i < partCount; ++i) {
      vanish(back[i]);
      expectLinks(text("-", back, i));
    }
    sw().recorder.take();
  } while (std::next_permutation(back.begin(), back.end()) && !HasFailure());
}

TEST_F(SegmentLinksOrdersTest, AnyPartMayVanishAndComeBackAtAnyTime) {
  std::mt19937 random(17);
  std::array<bool, partCount> has{};
  for (int step = 0; step < 500 && !HasFailure(); ++step) {
    const unsigned part = std::uniform_int_distribution<unsigned>(0, partCount - 1)(random);
    has[part] = !has[part];
    if (has[part]) {
      appear(part);
    } else {
      vanish(part);
    }
    expectLinks("step " + std::to_string(step));
    sw().recorder.take();
  }
}

}  // namespace
