// The index of the segments that name a from-segment or a policy, against the walk over all
// segments.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "framework/Kiv/Dir.h"
#include "model/Firewall/Segment.h"

namespace {

using Firewall::Segment;
using Firewall::SegmentDir;
using Firewall::Vrf;
using Names = std::vector<std::string>;

bool names(const Segment& segment, const Pith::String& from, const Pith::String& policy) {
  if (!from.empty() && segment.policyHas(from)) return true;
  if (policy.empty()) return false;
  if (segment.fallbackPolicy() == policy) return true;
  for (const auto& entry : segment.policy()) {
    if (entry.value == policy) return true;
  }
  return false;
}

Names byWalk(const SegmentDir& directory, const Pith::String& from, const Pith::String& policy) {
  Names found;
  for (const auto& segment : directory.segment()) {
    if (names(*segment, from, policy)) found.emplace_back(segment->name().view());
  }
  return found;
}

Names byIndex(const SegmentDir& directory, const Pith::String& from, const Pith::String& policy) {
  Names found;
  for (auto next = directory.segmentNaming(from, policy, 0); next;
       next = directory.segmentNaming(from, policy, next->place)) {
    found.emplace_back(next->segment->name().view());
  }
  return found;
}

class SegmentLinksIndexTest : public ::testing::Test {
 protected:
  static constexpr const char* froms[] = {"", "a", "b", "c"};
  static constexpr const char* policies[] = {"", "dns", "web", "mail"};

  void expectAgreement() {
    for (const char* from : froms) {
      for (const char* policy : policies) {
        ASSERT_EQ(byIndex(*directory, from, policy), byWalk(*directory, from, policy))
            << "from " << from << " policy " << policy;
      }
    }
  }

  SegmentDir::Ptr directory = Kiv::make<SegmentDir>("l2");
};

TEST_F(SegmentLinksIndexTest, SegmentsComeInTheOrderInWhichTheyWereAdded) {
  for (const char* name : {"z", "a", "m"}) directory->segmentIs(name);
  for (const char* name : {"m", "a", "z"}) directory->segment(name)->policyIs("b", "web");
  EXPECT_EQ(byIndex(*directory, "b", ""), (Names{"z", "a", "m"}));
  directory->segmentDel("z");
  directory->segmentIs("z")->fallbackPolicyIs("web");
  EXPECT_EQ(byIndex(*directory, "", "web"), (Names{"a", "m", "z"}));
  EXPECT_EQ(byIndex(*directory, "b", ""), (Names{"a", "m"}));
}

TEST_F(SegmentLinksIndexTest, SegmentThatNamesAPolicySeveralTimesComesOnceUntilTheLastIsGone) {
  const auto segment = directory->segmentIs("a");
  segment->policyIs("b", "web");
  segment->policyIs("c", "web");
  segment->fallbackPolicyIs("web");
  EXPECT_EQ(byIndex(*directory, "", "web"), (Names{"a"}));
  EXPECT_EQ(byIndex(*directory, "b", "web"), (Names{"a"}));
  segment->policyDel("b");
  segment->fallbackPolicyIs("mail");
  EXPECT_EQ(byIndex(*directory, "", "web"), (Names{"a"}));
  segment->policyIs("c", "mail");
  EXPECT_EQ(byIndex(*directory, "", "web"), Names());
  EXPECT_EQ(byIndex(*directory, "", "mail"), (Names{"a"}));
}

TEST_F(SegmentLinksIndexTest, EmptyNamesAreNotFound) {
  const auto segment = directory->segmentIs("a");
  segment->policyIs("", "");
  segment->fallbackPolicyIs("");
  EXPECT_FALSE(directory->segmentNaming("", "", 0));
  segment->fallbackPolicyIs("web");
  segment->fallbackPolicyIs("");
  EXPECT_FALSE(directory->segmentNaming("", "web", 0));
}

TEST_F(SegmentLinksIndexTest, VrfIsIndexedLikeTheL2Directory) {
  const auto vrf = Kiv::make<Vrf>("red");
  vrf->segmentIs("a")->policyIs("b", "web");
  EXPECT_EQ(byIndex(*vrf, "b", ""), (Names{"a"}));
}

TEST_F(SegmentLinksIndexTest, FallbackPolicyIsNotifiedLikeAnyValue) {
  const auto segment = directory->segmentIs("a");
  int told = 0;
  struct Counter {
    static void count(void* owner, Pith::Publisher*, Pith::Subscriber*, Pith::FieldId field,
                      const void*, const Pith::Change*) {
      if (field == Segment::fallbackPolicyField) ++*static_cast<int*>(owner);
    }
  };
  Pith::Subscriber subscriber(&told, &Counter::count);
  segment->publisher().subscriberAdd(subscriber);
  segment->fallbackPolicyIs("web");
  segment->fallbackPolicyIs("web");
  segment->fallbackPolicyIs("");
  EXPECT_EQ(told, 2);
}

TEST_F(SegmentLinksIndexTest, SegmentOutsideADirectoryIsInNone) {
  const auto lone = Kiv::make<Segment>("lone");
  lone->policyIs("b", "web");
  lone->fallbackPolicyIs("web");
  lone->policyDel("b");
  const auto dir = Kiv::make<Kiv::Dir>();
  dir->newEntity<Segment>("entry")->policyIs("b", "web");
  const auto held = directory->segmentIs("a");
  directory->segmentDel("a");
  held->policyIs("b", "web");
  EXPECT_FALSE(directory->segmentNaming("b", "web", 0));
  const auto outliving = directory->segmentIs("a");
  outliving->policyIs("b", "web");
  directory = nullptr;
  outliving->policyDel("b");
  outliving->fallbackPolicyIs("web");
  EXPECT_TRUE(outliving->policy().empty());
}

TEST_F(SegmentLinksIndexTest, AgreesWithTheWalkAfterEveryStepOfRandomHistories) {
  for (unsigned seed = 0; seed < 15; ++seed) {
    directory = Kiv::make<SegmentDir>("l2");
    std::mt19937 random(seed);
    const auto below = [&](unsigned bound) {
      return std::uniform_int_distribution<unsigned>(0, bound - 1)(random);
    };
    for (int step = 0; step < 500; ++step) {
      const Pith::String name(std::string(1, static_cast<char>('a' + below(5))));
      const Pith::String from(froms[below(4)]);
      const Pith::String policy(policies[below(4)]);
      const auto segment = directory->segment(name);
      switch (segment ? below(16) : 0) {
        case 0:
          directory->segmentIs(name);
          break;
        case 1:
          directory->segmentDel(name);
          break;
        case 2:
          segment->policyDelAll();
          break;
        case 3:
        case 4:
        case 5:
          segment->policyDel(from);
          break;
        case 6:
          if (below(10) == 0) directory->segmentDelAll();
          break;
        case 7:
        case 8:
        case 9:
          segment->fallbackPolicyIs(policy);
          break;
        default:
          segment->policyIs(from, policy);
          break;
      }
      expectAgreement();
    }
  }
}

}  // namespace
