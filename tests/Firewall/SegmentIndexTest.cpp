// The indexes of the output's segments against the plain walk, through random histories.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <random>
#include <string>
#include <vector>

#include "model/Firewall/HwConfig.h"

namespace Firewall {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<const FwSegment*> usersByWalk(const HwConfig& hwConfig, const Pith::String& name) {
  std::vector<const FwSegment*> users;
  const auto walk = [&](const FwSegmentDir& directory) {
    for (const auto& segment : directory.segment()) {
      if (segment->className() == name) users.push_back(segment.get());
    }
  };
  for (const auto& vrf : hwConfig.vrf()) walk(*vrf);
  if (const auto l2Seg = hwConfig.l2Seg()) walk(*l2Seg);
  return users;
}

std::vector<const FwSegment*> usersByIndex(const HwConfig& hwConfig, const Pith::String& name,
                                           ClassPlace place = {}) {
  std::vector<const FwSegment*> users;
  for (auto user = hwConfig.classUser(name, place); user;
       user = hwConfig.classUser(name, user->place)) {
    EXPECT_EQ(user->isL2(), user->segment->parent() == hwConfig.l2Seg().get());
    users.push_back(user->segment.get());
  }
  return users;
}

std::vector<Pith::String> receiversByWalk(const FwSegmentDir& directory, const FwSegment& from) {
  std::vector<Pith::String> receivers;
  for (const auto& segment : directory.segment()) {
    for (const auto& link : segment->fromSegment()) {
      if (link.value.segment.get() == &from) receivers.push_back(segment->name());
    }
  }
  return receivers;
}

std::vector<Pith::String> receiversByIndex(const FwSegment& from) {
  std::vector<Pith::String> receivers;
  for (auto name = from.receiver(std::nullopt); name; name = from.receiver(name)) {
    receivers.push_back(*name);
  }
  return receivers;
}

class SegmentIndexTest : public ::testing::Test {
 protected:
  HwConfig::Ptr hwConfig = Kiv::make<HwConfig>();
  std::mt19937 random{20240607};

  std::size_t any(std::size_t count) {
    return std::uniform_int_distribution<std::size_t>(0, count - 1)(random);
  }
  FwSegmentDir::Ptr directory(std::size_t which) {
    if (which == 0) return hwConfig->l2Seg();
    return hwConfig->vrf(std::string_view("v" + std::to_string(which)));
  }
};

TEST_F(SegmentIndexTest, SegmentWithoutClassMapIsNobodysUser) {
  hwConfig->vrfIs("red")->segmentIs("a");
  EXPECT_FALSE(hwConfig->classUser("", {}));
}

TEST_F(SegmentIndexTest, L2UsersAloneCanBeAskedFor) {
  const auto inVrf = hwConfig->vrfIs("red")->segmentIs("a");
  const auto inL2 = hwConfig->l2SegIs("l2SegDir")->segmentIs("a");
  inVrf->classNameIs("c");
  inL2->classNameIs("c");
  EXPECT_THAT(usersByIndex(*hwConfig, "c"), ElementsAre(inVrf.get(), inL2.get()));
  EXPECT_THAT(usersByIndex(*hwConfig, "c", ClassPlace::beforeL2()), ElementsAre(inL2.get()));
}

TEST_F(SegmentIndexTest, VrfMadeAnewIsTheLastOne) {
  hwConfig->vrfIs("a")->segmentIs("x")->classNameIs("c");
  const auto second = hwConfig->vrfIs("b")->segmentIs("x");
  second->classNameIs("c");
  hwConfig->vrfDel("a");
  EXPECT_THAT(usersByIndex(*hwConfig, "c"), ElementsAre(second.get()));
  const auto anew = hwConfig->vrfIs("a")->segmentIs("x");
  anew->classNameIs("c");
  EXPECT_THAT(usersByIndex(*hwConfig, "c"), ElementsAre(second.get(), anew.get()));
}

TEST_F(SegmentIndexTest, WhatLeftTheOutputMayStillBeWritten) {
  const auto vrf = hwConfig->vrfIs("red");
  const auto a = vrf->segmentIs("a");
  const auto b = vrf->segmentIs("b");
  a->classNameIs("c");
  b->fromSegmentIs("a", a, hwConfig->policyIs("p"));
  hwConfig->vrfDel("red");
  a->classNameIs("d");
  b->classNameIs("c");
  vrf->segmentDel("a");
  vrf->segmentIs("new")->classNameIs("c");
  EXPECT_FALSE(hwConfig->classUser("c", {}));
  EXPECT_FALSE(hwConfig->classUser("d", {}));
}

TEST_F(SegmentIndexTest, SubscriberSeesTheIndexAsItWillBe) {
  const auto a = hwConfig->vrfIs("red")->segmentIs("a");
  a->classNameIs("before");
  struct Seen {
    HwConfig& hwConfig;
    std::vector<std::size_t> users;
  } seen{*hwConfig, {}};
  Pith::Subscriber subscriber(&seen, [](void* to, Pith::Publisher*, Pith::Subscriber*,
                                        Pith::FieldId, const void*, const Pith::Change*) {
    auto& what = *static_cast<Seen*>(to);
    for (const char* name : {"before", "after"}) {
      what.users.push_back(usersByIndex(what.hwConfig, name).size());
    }
  });
  a->publisher().subscriberAdd(subscriber);
  a->classNameIs("after");
  EXPECT_THAT(seen.users, ElementsAre(0U, 1U));
}

TEST_F(SegmentIndexTest, SegmentThatLeavesIsNobodysReceiver) {
  const auto vrf = hwConfig->vrfIs("red");
  const auto a = vrf->segmentIs("a");
  const auto policy = hwConfig->policyIs("p");
  a->fromSegmentIs("a", a, policy);
  vrf->segmentIs("b")->fromSegmentIs("a", a, policy);
  EXPECT_THAT(receiversByIndex(*a), ElementsAre("a", "b"));
  vrf->segmentDel("b");
  EXPECT_THAT(receiversByIndex(*a), ElementsAre("a"));
  vrf->segmentDel("a");
  EXPECT_THAT(receiversByIndex(*a), IsEmpty());
}

TEST_F(SegmentIndexTest, SegmentThatLeftIsNobodysReceiverHoweverItIsWritten) {
  const auto vrf = hwConfig->vrfIs("red");
  const auto a = vrf->segmentIs("a");
  const auto left = vrf->segmentIs("b");
  const auto policy = hwConfig->policyIs("p");
  left->fromSegmentIs("a", a, policy);
  vrf->segmentDel("b");
  left->fromSegmentIs("a", a, policy);
  EXPECT_THAT(receiversByIndex(*a), IsEmpty());
  vrf->segmentIs("b")->fromSegmentIs("a", a, policy);
  left->fromSegmentDel("a");
  EXPECT_THAT(receiversByIndex(*a), ElementsAre("b"));
}

TEST_F(SegmentIndexTest, ClassMapUsersAreThoseOfTheWalk) {
  const std::vector<Pith::String> classes = {"", "a", "b", "__segment_c"};
  for (int step = 0; step < 4000; ++step) {
    const std::size_t which = any(4);
    const auto dir = directory(which);
    if (!dir || any(25) == 0) {
      if (which == 0) {
        dir ? hwConfig->l2SegDel() : static_cast<void>(hwConfig->l2SegIs("l2SegDir"));
      } else {
        const std::string name = "v" + std::to_string(which);
        dir ? hwConfig->vrfDel(std::string_view(name))
            : static_cast<void>(hwConfig->vrfIs(std::string_view(name)));
      }
    } else {
      const Pith::String name = std::to_string(any(6));
      if (any(5) == 0) {
        dir->segmentDel(name);
      } else {
        dir->segmentIs(name)->classNameIs(classes[any(classes.size())]);
      }
    }
    for (const Pith::String& name : classes) {
      if (name.empty()) continue;
      ASSERT_EQ(usersByIndex(*hwConfig, name), usersByWalk(*hwConfig, name)) << "step " << step;
    }
  }
}

TEST_F(SegmentIndexTest, ReceiversAreThoseOfTheWalk) {
  const auto policies = std::vector{hwConfig->policyIs("p"), hwConfig->policyIs("q")};
  auto dir = hwConfig->vrfIs("red");
  for (int step = 0; step < 4000; ++step) {
    const auto to = dir->segmentIs(std::to_string(any(6)));
    const auto from = dir->segmentIs(std::to_string(any(6)));
    switch (any(8)) {
      case 0:
        dir->segmentDel(to->name());
        break;
      case 1:
        to->fromSegmentDel(from->name());
        break;
      case 2:
        to->fromSegmentDelAll();
        break;
      case 3:
        if (any(20) == 0) {
          hwConfig->vrfDel("red");
          dir = hwConfig->vrfIs("red");
        }
        break;
      default:
        to->fromSegmentIs(from->name(), from, policies[any(2)]);
    }
    for (const auto& segment : dir->segment()) {
      std::vector<Pith::String> expected;
      for (const Pith::String& name : receiversByWalk(*dir, *segment)) expected.push_back(name);
      ASSERT_EQ(receiversByIndex(*segment), expected) << "step " << step;
    }
  }
}

}  // namespace
}  // namespace Firewall
