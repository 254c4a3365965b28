// The mutators of the output that do more than their attribute.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "framework/Pith/RangeException.h"
#include "model/Firewall/HwConfig.h"
#include "tests/support/Recorder.h"

namespace {

using Firewall::FwSegment;
using Firewall::FwService;
using Firewall::PortRange;
using testing::ElementsAre;
using testing::IsEmpty;

class FwServiceTest : public testing::Test {
 protected:
  FwService::Ptr service_ = Kiv::make<FwService>("https");
  TestSupport::Recorder recorder_{*service_};
};

TEST_F(FwServiceTest, portRangeStandsUnderItsStart) {
  service_->dstPortIs(PortRange(443, 444));
  service_->srcPortIs(PortRange(80, 80));
  EXPECT_EQ(*service_->dstPort(443), PortRange(443, 444));
  EXPECT_EQ(*service_->srcPort(80), PortRange(80, 80));
  service_->dstPortDel(443);
  EXPECT_TRUE(service_->dstPort().empty());
}

TEST_F(FwServiceTest, portRangeOfTheSameStartTakesThePlaceOfTheOther) {
  service_->dstPortIs(PortRange(443, 444));
  service_->dstPortIs(PortRange(443, 443));
  service_->dstPortIs(PortRange(443, 443));
  EXPECT_EQ(service_->dstPort().size(), 1U);
  EXPECT_THAT(recorder_.told(), ElementsAre("dstPort/443: none -> \"443-444\"",
                                            "dstPort/443: \"443-444\" -> \"443\""));
}

TEST_F(FwServiceTest, writtenPortRangeIsTheOneThatStands) {
  for (const PortRange& range : {PortRange(443, 444), PortRange(443, 443), PortRange(443, 443)}) {
    const PortRange* const dst = service_->dstPortIs(range);
    EXPECT_EQ(*dst, range);
    EXPECT_EQ(dst, service_->dstPort(443));
    const PortRange* const src = service_->srcPortIs(range);
    EXPECT_EQ(*src, range);
    EXPECT_EQ(src, service_->srcPort(443));
  }
}

TEST_F(FwServiceTest, portRangeUnderAnotherKeyIsRefused) {
  EXPECT_THROW(service_->dstPortIs(80, PortRange(443, 444)), Pith::RangeException);
  EXPECT_THROW(service_->srcPortIs(80, PortRange(443, 444)), Pith::RangeException);
  service_->dstPortIs(PortRange(80, 80));
  recorder_.clear();
  EXPECT_THROW(service_->dstPortIs(80, PortRange(81, 81)), Pith::RangeException);
  EXPECT_EQ(*service_->dstPort(80), PortRange(80, 80));
  EXPECT_THAT(recorder_.told(), IsEmpty());
}

TEST_F(FwServiceTest, versionIsRaisedBy) {
  service_->versionInc(1);
  service_->versionInc(2);
  service_->versionInc(0);
  EXPECT_EQ(service_->version(), 3U);
  EXPECT_THAT(recorder_.told(), ElementsAre("version: \"0\" -> \"1\"", "version: \"1\" -> \"3\""));
}

TEST(FwSegmentTest, interfaceIsBoundByAClassMap) {
  const auto segment = Kiv::make<FwSegment>("web");
  const Lanx::IntfId intf("Ethernet1");
  const auto entry = segment->intfVlanRangeSetIs("first", intf);
  EXPECT_EQ(entry->intfId(), intf);
  EXPECT_EQ(entry->className(), "first");
  EXPECT_EQ(segment->intfVlanRangeSetIs("second", intf), entry);
  EXPECT_EQ(entry->className(), "second");
  EXPECT_EQ(segment->intfVlanRangeSet().size(), 1U);
}

TEST(HwConfigTest, vrfNameThatIsTooLongIsRefused) {
  const auto hwConfig = Kiv::make<Firewall::HwConfig>();
  EXPECT_THROW(hwConfig->vrfIs(std::string(101, 'v')), Pith::RangeException);
  EXPECT_TRUE(hwConfig->vrf().empty());
  EXPECT_EQ(hwConfig->vrfIs(std::string(100, 'v'))->name().size(), 100U);
}

}  // namespace
