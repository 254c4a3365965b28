// The references of the output: segments that receive from each other, and the policies and
// services between them.
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "model/Firewall/HwConfig.h"
#include "tests/support/LiveCounts.h"

namespace {

using Firewall::Action;
using Firewall::FwPolicy;
using Firewall::FwSegment;
using Firewall::FwService;
using Firewall::HwConfig;

class LinksTest : public testing::Test {
 protected:
  LinksTest() {
    const auto vrf = hwConfig_->vrfIs("red");
    web_ = vrf->segmentIs("web");
    backend_ = vrf->segmentIs("backend");
    policy_ = hwConfig_->policyIs("p");
    service_ = hwConfig_->servicesIs("https");
    web_->fromSegmentIs("backend", backend_, policy_);
    backend_->fromSegmentIs("web", web_, policy_);
    web_->fallbackPolicyIs(policy_);
    policy_->serviceRuleIs(10, service_, Action::forward, true, Lanx::IpGenAddr());
    policy_->ruleIs(1, Firewall::FwRule{});
    web_->subnetsIs(subnet_, true);
    web_->intfVlanRangeSetIs("cm", Lanx::IntfId("Ethernet1"))
        ->vlanRangeIs(Firewall::VlanRange(1, 2));
  }
  ~LinksTest() override {
    letGo();
    hwConfig_ = nullptr;
    EXPECT_EQ(TestSupport::liveCounts(), before_);
  }
  void letGo() {
    web_ = backend_ = nullptr;
    policy_ = nullptr;
    service_ = nullptr;
  }

  const std::map<std::string, std::uint64_t> before_ = TestSupport::liveCounts();
  const Lanx::IpGenAddrWithMask subnet_ = Lanx::IpGenAddrWithMask::parse("192.0.2.0/24");
  HwConfig::Ptr hwConfig_ = Kiv::make<HwConfig>();
  FwSegment::Ptr web_;
  FwSegment::Ptr backend_;
  FwPolicy::Ptr policy_;
  FwService::Ptr service_;
};

TEST_F(LinksTest, outputWithSegmentsThatReceiveFromEachOtherLeavesNothing) {
  letGo();
  hwConfig_ = nullptr;
}

TEST_F(LinksTest, segmentThatLeavesIsCutFromOthersAndItsPlainValuesStay) {
  hwConfig_->vrf("red")->segmentDel("web");
  EXPECT_TRUE(web_->fromSegment().empty());
  EXPECT_EQ(web_->fallbackPolicy(), nullptr);
  EXPECT_TRUE(web_->subnetsHas(subnet_));
  const auto intf = web_->intfVlanRangeSet(Lanx::IntfId("Ethernet1"));
  EXPECT_TRUE(intf->vlanRangeHas(Firewall::VlanRange(1, 2)));
  EXPECT_EQ(intf->className(), "cm");
  EXPECT_EQ(backend_->fromSegment("web")->segment, web_);
}

TEST_F(LinksTest, vrfThatLeavesCutsItsSegments) {
  hwConfig_->vrfDel("red");
  EXPECT_TRUE(web_->fromSegment().empty());
  EXPECT_TRUE(backend_->fromSegment().empty());
  EXPECT_EQ(web_->fallbackPolicy(), nullptr);
}

TEST_F(LinksTest, policyThatLeavesIsCutFromItsServicesAndItsRulesStay) {
  hwConfig_->policyDel("p");
  EXPECT_TRUE(policy_->serviceRule().empty());
  EXPECT_EQ(policy_->rule().size(), 1U);
  EXPECT_EQ(web_->fallbackPolicy(), policy_);
}

TEST_F(LinksTest, outputThatIsEmptiedHoldsNothing) {
  letGo();
  hwConfig_->vrfDelAll();
  hwConfig_->policyDelAll();
  hwConfig_->servicesDelAll();
  auto expected = before_;
  expected["Firewall::HwConfig"] = 1;
  EXPECT_EQ(TestSupport::liveCounts(), expected);
}

}  // namespace
