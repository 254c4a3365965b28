// Values are made, compared and written without the heap; only a string that grows asks for memory.
#include <gtest/gtest.h>

#include <string>

#include "framework/Lanx/IntfId.h"
#include "framework/Lanx/Prefix.h"
#include "tests/support/AllocationCount.h"

namespace {

using TestSupport::allocationsOf;

TEST(AllocationTest, readingAValueAllocatesNothing) {
  EXPECT_EQ(allocationsOf([] {
              Lanx::IpGenAddr::parse("2001:1db8:1111:2222:3333:4444:5555:6666");
              Lanx::IpGenAddrWithMask::parse("2001:1db8:1111:2222:3333:4444:5555:6666/64");
              Lanx::IpGenPrefix::parse("2001:1db8:1111:2222:3333:4444:5555:6666/128");
              Lanx::Prefix::parse("192.0.2.0/24");
            }),
            0U);
}

TEST(AllocationTest, writingIntoAStringWithRoomAllocatesNothing) {
  const auto prefix = Lanx::IpGenPrefix::parse("2001:1db8:1111:2222:3333:4444:5555:6666/128");
  const auto address = prefix.address();
  const Lanx::IntfId intf("Ethernet1/2/3/4/5/6/7/8");
  std::string out;
  out.reserve(200);
  EXPECT_EQ(allocationsOf([&] {
              prefix.appendTo(out);
              address.appendTo(out);
              intf.appendTo(out);
            }),
            0U);
  EXPECT_EQ(out.size(), intf.view().size() + 43 + 39);
}

TEST(AllocationTest, interfaceIdentifierAllocatesOnceAndItsCopiesNothing) {
  Lanx::IntfId intf;
  EXPECT_EQ(allocationsOf([&] { intf = Lanx::IntfId("Ethernet1/2/3/4/5/6/7/8"); }), 1U);
  EXPECT_EQ(allocationsOf([&] { const Lanx::IntfId copy = intf; }), 0U);
}

}  // namespace
