// What the recorder is given raw is not made a text on the way: recording it takes no memory.
#include <gtest/gtest.h>

#include <string>

#include "framework/Fleetlog/Decode.h"
#include "framework/Lanx/IntfId.h"
#include "framework/Lanx/Prefix.h"
#include "framework/Pith/Node.h"
#include "framework/Pith/Ptr.h"
#include "framework/Twinlog/Twinlog.h"
#include "tests/support/AllocationCount.h"

namespace {

constinit Twinlog::Facility allocationFacility("Firewall/AllocationTest");

class Segment : public Pith::Node {
 public:
  const Pith::String& name() const { return name_; }

 private:
  Pith::String name_ = "a segment whose name is longer than a string holds in place";
};

TEST(AllocationTest, recordingNumbersNamesAddressesAndReferencesTakesNone) {
  static constexpr Twinlog::Function fn("void Test::record()");
  Fleetlog::TraceFile file;
  Fleetlog::traceFileIs(&file);
  const auto segment = Pith::Ptr<Segment>::adopt(new Segment);
  const auto prefix = Lanx::IpGenPrefix::parse("2001:1db8:1111:2222:3333:4444:5555:6666/128");
  const Lanx::IntfId intf("Ethernet1/2/3/4/5/6/7/8/9/10");
  const auto record = [&] {
    TWINLOG_FN(allocationFacility, 8, fn, ": %s, %s, %s, %s, %s, %s, %s", -1, true, segment->name(),
               prefix.address(), prefix, intf, segment);
  };
  record();  // the first message of a site makes it known
  EXPECT_EQ(TestSupport::allocationsOf(record), 0U);
  Fleetlog::traceFileIs(nullptr);
  std::string last;
  Fleetlog::decode(file.bytes(),
                   [&](const Fleetlog::Message& message) { last = std::string(message.text); });
  const std::string name(segment->name().view());
  EXPECT_EQ(last, "void Test::record(): -1, true, " + name +
                      ", 2001:1db8:1111:2222:3333:4444:5555:6666, "
                      "2001:1db8:1111:2222:3333:4444:5555:6666/128, "
                      "Ethernet1/2/3/4/5/6/7/8/9/10, " +
                      name);
}

}  // namespace
