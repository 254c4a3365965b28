// The index of the segments that receive from a segment, where one has several links to it.
#include <gtest/gtest.h>

#include <optional>

#include "model/Firewall/HwConfig.h"

namespace Firewall {
namespace {

class ReceiversTest : public testing::Test {
 protected:
  HwConfig::Ptr hwConfig_ = Kiv::make<HwConfig>();
  FwVrf::Ptr vrf_ = hwConfig_->vrfIs("red");
  FwSegment::Ptr from_ = vrf_->segmentIs("from");
  FwSegment::Ptr receiver_ = vrf_->segmentIs("receiver");
};

TEST_F(ReceiversTest, segmentWithTwoLinksReceivesUntilBothAreGone) {
  receiver_->fromSegmentIs("one", from_, nullptr);
  receiver_->fromSegmentIs("two", from_, nullptr);
  EXPECT_EQ(from_->receiver(std::nullopt), "receiver");
  EXPECT_EQ(from_->receiver("receiver"), std::nullopt);
  receiver_->fromSegmentDel("one");
  EXPECT_EQ(from_->receiver(std::nullopt), "receiver");
  receiver_->fromSegmentIs("two", vrf_->segmentIs("other"), nullptr);
  EXPECT_EQ(from_->receiver(std::nullopt), std::nullopt);
}

TEST_F(ReceiversTest, segmentThatLeavesTakesAllItsLinksAlong) {
  receiver_->fromSegmentIs("one", from_, nullptr);
  receiver_->fromSegmentIs("two", from_, nullptr);
  vrf_->segmentDel("receiver");
  EXPECT_EQ(from_->receiver(std::nullopt), std::nullopt);
}

}  // namespace
}  // namespace Firewall
