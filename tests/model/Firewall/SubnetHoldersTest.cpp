// Which segments of a VRF hold a subnet: the index against a walk over all segments, after each
// step.
#include "model/Firewall/SubnetHolders.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "framework/Kiv/Entity.h"
#include "model/Firewall/HwConfig.h"

namespace {

using Firewall::FwSegment;
using Firewall::FwVrf;
using Lanx::IpGenAddrWithMask;

IpGenAddrWithMask subnet(const std::string& text) { return IpGenAddrWithMask::parse(text); }

// What the index stands for.
std::string walked(const FwVrf& vrf, const IpGenAddrWithMask& subnet,
                   const std::optional<Pith::String>& except) {
  for (const auto& segment : vrf.segment()) {
    if (segment->name() != except && segment->subnetsHas(subnet)) {
      return std::string(segment->name().view());
    }
  }
  return "";
}

std::string lookedUp(const FwVrf& vrf, const IpGenAddrWithMask& subnet,
                     const std::optional<Pith::String>& except = {}) {
  const auto segment = except ? vrf.segmentHolding(subnet, *except) : vrf.segmentHolding(subnet);
  return segment ? std::string(segment->name().view()) : "";
}

const auto net = subnet("10.0.0.0/8");

TEST(SubnetHoldersTest, NobodyHoldsAnUnknownSubnet) {
  EXPECT_EQ(lookedUp(*Kiv::make<FwVrf>("red"), net), "");
}

TEST(SubnetHoldersTest, TheSmallestNameIsFirstWhateverTheOrderOfArrival) {
  const auto vrf = Kiv::make<FwVrf>("red");
  for (const char* name : {"m", "z", "a"}) {
    vrf->segmentIs(name)->subnetsIs(net, true);
  }
  EXPECT_EQ(lookedUp(*vrf, net), "a");
  EXPECT_EQ(lookedUp(*vrf, net, "a"), "m");
  EXPECT_EQ(lookedUp(*vrf, net, "m"), "a");
  vrf->segment("a")->subnetsDel(net);
  EXPECT_EQ(lookedUp(*vrf, net), "m");
  vrf->segment("z")->subnetsDel(net);
  EXPECT_EQ(lookedUp(*vrf, net, "m"), "");
  vrf->segment("m")->subnetsDelAll();
  EXPECT_EQ(lookedUp(*vrf, net), "");
}

TEST(SubnetHoldersTest, ASegmentWithoutANameIsTheFirstUnlessItIsLeftOut) {
  const auto vrf = Kiv::make<FwVrf>("red");
  for (const char* name : {"a", ""}) vrf->segmentIs(name)->subnetsIs(net, true);
  EXPECT_EQ(vrf->segmentHolding(net), vrf->segment(""));
  EXPECT_EQ(vrf->segmentHolding(net, ""), vrf->segment("a"));
  EXPECT_EQ(vrf->segmentHolding(net, "a"), vrf->segment(""));
}

TEST(SubnetHoldersTest, HostBitsMakeAnotherSubnet) {
  const auto vrf = Kiv::make<FwVrf>("red");
  vrf->segmentIs("a")->subnetsIs(subnet("10.0.0.1/8"), true);
  EXPECT_EQ(lookedUp(*vrf, net), "");
  EXPECT_EQ(lookedUp(*vrf, subnet("10.0.0.1/8")), "a");
}

TEST(SubnetHoldersTest, AChangedValueIsStillHeld) {
  const auto vrf = Kiv::make<FwVrf>("red");
  const auto segment = vrf->segmentIs("a");
  segment->subnetsIs(net, true);
  segment->subnetsIs(net, false);
  EXPECT_EQ(lookedUp(*vrf, net), "a");
  segment->subnetsDel(net);
  EXPECT_EQ(lookedUp(*vrf, net), "");
}

TEST(SubnetHoldersTest, ASegmentThatIsRemovedTakesItsSubnetsAlongAndDoesNotComeBack) {
  const auto vrf = Kiv::make<FwVrf>("red");
  const auto gone = vrf->segmentIs("a");
  gone->subnetsIs(net, true);
  vrf->segmentIs("b")->subnetsIs(net, true);
  vrf->segmentDel("a");
  EXPECT_EQ(lookedUp(*vrf, net), "b");
  gone->subnetsIs(subnet("11.0.0.0/8"), true);
  EXPECT_EQ(lookedUp(*vrf, subnet("11.0.0.0/8")), "");
  vrf->segmentIs("a");  // another one of that name
  gone->subnetsDel(net);
  EXPECT_EQ(lookedUp(*vrf, net), "b");
  vrf->segmentDelAll();
  EXPECT_EQ(lookedUp(*vrf, net), "");
}

TEST(SubnetHoldersTest, AVrfThatLeftTheOutputKeepsItsOwnIndex) {
  const auto hwConfig = Kiv::make<Firewall::HwConfig>();
  const auto old = hwConfig->vrfIs("red");
  const auto segment = old->segmentIs("a");
  hwConfig->vrfDel("red");
  const auto fresh = hwConfig->vrfIs("red");
  segment->subnetsIs(net, true);
  EXPECT_EQ(lookedUp(*old, net), "a");
  EXPECT_EQ(lookedUp(*fresh, net), "");
}

TEST(SubnetHoldersTest, ASegmentOutlivesItsVrf) {
  auto vrf = Kiv::make<FwVrf>("red");
  const auto segment = vrf->segmentIs("a");
  segment->subnetsIs(net, true);
  vrf = nullptr;
  segment->subnetsDel(net);
  segment->subnetsIs(net, true);
  EXPECT_TRUE(segment->subnetsHas(net));
}

TEST(SubnetHoldersTest, SegmentsOutsideOfAVrfHaveNoIndex) {
  const auto l2 = Kiv::make<Firewall::FwSegmentDir>("l2SegDir");
  l2->segmentIs("a")->subnetsIs(net, true);
  l2->segmentDel("a");
  const auto alone = Kiv::make<FwSegment>("b");
  alone->subnetsIs(net, true);
  EXPECT_TRUE(alone->subnetsHas(net));
}

TEST(SubnetHoldersTest, AgreesWithTheWalkAfterEveryStepOfRandomHistories) {
  for (unsigned seed = 1; seed <= 4; ++seed) {
    std::mt19937 random(seed);
    const auto pick = [&random](int below) {
      return std::uniform_int_distribution<int>(0, below - 1)(random);
    };
    const auto vrf = Kiv::make<FwVrf>("red");
    std::vector<IpGenAddrWithMask> nets;
    for (int n = 0; n < 12; ++n) {
      nets.push_back(n % 3 == 0 ? subnet("2001:db8:" + std::to_string(n) + "::/48")
                                : subnet("10." + std::to_string(n) + ".0.0/16"));
    }
    for (int step = 0; step < 300; ++step) {
      const Pith::String name(std::string(1, static_cast<char>('a' + pick(6))));
      const auto& at = nets[static_cast<std::size_t>(pick(12))];
      switch (pick(12)) {
        case 0:
          vrf->segmentDel(name);
          break;
        case 1:
          vrf->segmentIs(name)->subnetsDelAll();
          break;
        case 2:
        case 3:
        case 4:
          vrf->segmentIs(name)->subnetsDel(at);
          break;
        case 5:
          vrf->segmentIs(name)->subnetsIs(at, false);
          break;
        default:
          vrf->segmentIs(name)->subnetsIs(at, true);
      }
      for (const auto& each : nets) {
        for (const char* except : {"", "a", "b", "c", "d", "e", "f"}) {
          ASSERT_EQ(lookedUp(*vrf, each, except), walked(*vrf, each, except))
              << "seed " << seed << " step " << step << " " << each << " but " << except;
        }
      }
    }
  }
}

TEST(SubnetHoldersTest, ASubnetWithOneHolderCostsAtMostFiftyBytes) {
  Firewall::SubnetHolders holders;
  const auto segment = Kiv::make<FwSegment>("a");
  constexpr std::uint32_t count = 20000;
  for (std::uint32_t n = 0; n < count; ++n) {
    holders.add(Lanx::IpAddrWithMask(Lanx::IpAddr(n << 8U), 24), *segment);
  }
  EXPECT_LE(holders.bytes(), 50 * count);
  for (std::uint32_t n = 0; n < count; ++n) {
    holders.remove(Lanx::IpAddrWithMask(Lanx::IpAddr(n << 8U), 24), *segment);
  }
  EXPECT_EQ(holders.bytes(), 0U);
}

}  // namespace
