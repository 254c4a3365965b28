// The global prefixes that name a segment: the index against a walk over the collection.
#include "model/Firewall/GlobalPrefixes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "framework/Kiv/Entity.h"
#include "model/Firewall/Segment.h"

namespace {

using Firewall::Vrf;
using Lanx::IpGenPrefix;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

IpGenPrefix prefix(int n) { return IpGenPrefix::parse("10." + std::to_string(n) + ".0.0/16"); }

std::vector<IpGenPrefix> walked(const Vrf& vrf, const Pith::String& segment) {
  std::vector<IpGenPrefix> prefixes;
  for (const auto& entry : vrf.prefix()) {
    if (entry.value == segment) prefixes.push_back(entry.key);
  }
  return prefixes;
}

TEST(GlobalPrefixesTest, NamesThatNoPrefixNamesHaveNone) {
  const auto vrf = Kiv::make<Vrf>("red");
  EXPECT_THAT(vrf->prefixesNaming("a"), IsEmpty());
  vrf->prefixIs(prefix(1), "a");
  vrf->prefixDel(prefix(1));
  EXPECT_THAT(vrf->prefixesNaming("a"), IsEmpty());
}

TEST(GlobalPrefixesTest, APrefixKeepsItsPlaceWhenItIsGivenAwayAndBack) {
  const auto vrf = Kiv::make<Vrf>("red");
  for (int n = 1; n <= 3; ++n) vrf->prefixIs(prefix(n), "a");
  vrf->prefixIs(prefix(2), "b");
  EXPECT_THAT(vrf->prefixesNaming("a"), ElementsAre(prefix(1), prefix(3)));
  EXPECT_THAT(vrf->prefixesNaming("b"), ElementsAre(prefix(2)));
  vrf->prefixIs(prefix(2), "a");
  EXPECT_THAT(vrf->prefixesNaming("a"), ElementsAre(prefix(1), prefix(2), prefix(3)));
}

TEST(GlobalPrefixesTest, APrefixThatIsRemovedAndAddedAgainIsTheLast) {
  const auto vrf = Kiv::make<Vrf>("red");
  for (int n = 1; n <= 3; ++n) vrf->prefixIs(prefix(n), "a");
  vrf->prefixDel(prefix(1));
  vrf->prefixIs(prefix(1), "a");
  EXPECT_THAT(vrf->prefixesNaming("a"), ElementsAre(prefix(2), prefix(3), prefix(1)));
}

TEST(GlobalPrefixesTest, AgreesWithTheWalkAfterEveryStepOfRandomHistories) {
  for (unsigned seed = 1; seed <= 4; ++seed) {
    std::mt19937 random(seed);
    const auto pick = [&random](int below) {
      return std::uniform_int_distribution<int>(0, below - 1)(random);
    };
    const auto vrf = Kiv::make<Vrf>("red");
    for (int step = 0; step < 600; ++step) {
      const int n = pick(40);
      if (step % 200 == 199) {
        vrf->prefixDelAll();
      } else if (pick(3) == 0) {
        vrf->prefixDel(prefix(n));
      } else {
        vrf->prefixIs(prefix(n), std::string(1, static_cast<char>('a' + pick(5))));
      }
      for (const char* name : {"a", "b", "c", "d", "e"}) {
        ASSERT_EQ(vrf->prefixesNaming(name), walked(*vrf, name)) << "seed " << seed << " " << step;
      }
    }
  }
}

}  // namespace
