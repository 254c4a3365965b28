// How class maps are named, and which interfaces they may bind.
#include "Firewall/Segments/ClassMapName.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "framework/Pith/RangeException.h"
#include "tests/support/TraceCapture.h"

namespace Firewall {
namespace {

using ::testing::ElementsAre;
using TestSupport::TraceCapture;

Lanx::IntfId intf(const std::string& name) { return Lanx::IntfId(Pith::String(name)); }

class ClassMapNameTest : public ::testing::Test {
 protected:
  bool inVrf(const std::string& className, const std::string& interfaceName) {
    return doCheckIntfInVrf(className, intf(interfaceName), ipStatus);
  }

  Ip::Status::Ptr ipStatus = Kiv::make<Ip::Status>();
};

TEST_F(ClassMapNameTest, GeneratedNames) {
  EXPECT_EQ(vrfSegmentClassMap("red", "web"), "__VRF_red_segment_web");
  EXPECT_EQ(l2SegmentClassMap("lab"), "__segment_lab");
}

TEST_F(ClassMapNameTest, VrfNameIsReadBackFromTheGeneratedName) {
  EXPECT_EQ(vrfNameOf(vrfSegmentClassMap("red", "web")), "red");
  EXPECT_EQ(vrfNameOf(vrfSegmentClassMap("red", "a_segment_b")), "red");
  EXPECT_EQ(vrfNameOf(vrfSegmentClassMap("", "web")), "");
}

TEST_F(ClassMapNameTest, VrfNameEndsAtTheFirstSegmentMark) {
  EXPECT_EQ(vrfNameOf("__VRF_a_segment_b_segment_c"), "a");
  EXPECT_EQ(vrfNameOf("_segment_x__VRF_red_segment_web"), "red");
}

TEST_F(ClassMapNameTest, VrfNameOf100BytesIsAccepted) {
  const std::string longest(100, 'v');
  EXPECT_EQ(vrfNameOf("__VRF_" + longest + "_segment_web"), std::string_view(longest));
}

TEST_F(ClassMapNameTest, VrfNameOf101BytesRaisesTheRangeError) {
  const std::string tooLong(101, 'v');
  try {
    vrfNameOf("__VRF_" + tooLong + "_segment_web");
    FAIL();
  } catch (const Pith::RangeException& error) {
    EXPECT_STREQ(error.what(), "Kiv::String::bytes > maxLength() not allowed");
  }
}

TEST_F(ClassMapNameTest, L2IsWhatBeginsWithTheSegmentMark) {
  EXPECT_TRUE(isL2ClassMap("__segment_lab"));
  EXPECT_TRUE(isL2ClassMap("__segment_"));
  EXPECT_FALSE(isL2ClassMap("x__segment_lab"));
  EXPECT_FALSE(isL2ClassMap("_segment_lab"));
  EXPECT_FALSE(isL2ClassMap("__VRF_red_segment_web"));
  EXPECT_FALSE(isL2ClassMap(""));
}

TEST_F(ClassMapNameTest, InterfaceThatIsNotRoutedIsInNoVrf) {
  const TraceCapture traces(3);
  EXPECT_FALSE(inVrf("__VRF_red_segment_web", "Ethernet1"));
  EXPECT_TRUE(traces.saw(3, "doCheckIntfInVrf", "Interface Ethernet1 is not a L3 interface"));
}

TEST_F(ClassMapNameTest, InterfaceOfTheNamedVrf) {
  ipStatus->ipIntfStatusIs(intf("Ethernet1"), L3::VrfName("red"));
  const TraceCapture traces(3);
  EXPECT_TRUE(inVrf("__VRF_red_segment_web", "Ethernet1"));
  EXPECT_TRUE(traces.saw(3, "doCheckIntfInVrf", "Interface Ethernet1 is in configured VRF red"));
}

TEST_F(ClassMapNameTest, InterfaceOfAnotherVrf) {
  ipStatus->ipIntfStatusIs(intf("Ethernet1"), L3::VrfName("blue"));
  const TraceCapture traces(3);
  EXPECT_FALSE(inVrf("__VRF_red_segment_web", "Ethernet1"));
  EXPECT_TRUE(traces.saw(3, "doCheckIntfInVrf",
                         "Interface Ethernet1 is not in configured VRF red but in blue"));
}

TEST_F(ClassMapNameTest, TheVrfNameIsReadOnlyForAnInterfaceThatIsRouted) {
  const std::string tooLong = "__VRF_" + std::string(101, 'v') + "_segment_web";
  {
    const TraceCapture traces;
    EXPECT_FALSE(inVrf(tooLong, "Ethernet1"));
    EXPECT_THAT(traces.records(),
                ElementsAre(TestSupport::TraceRecord{TestSupport::module, 3, "doCheckIntfInVrf",
                                                     "Interface Ethernet1 is not a L3 interface"}));
  }
  ipStatus->ipIntfStatusIs(intf("Ethernet1"), L3::VrfName("red"));
  EXPECT_THROW(inVrf(tooLong, "Ethernet1"), Pith::RangeException);
}

TEST_F(ClassMapNameTest, AVrfIsNamedWhereverTheMarkStandsInTheName) {
  EXPECT_FALSE(inVrf("site__VRF_red_segment_web", "Ethernet1"));
  EXPECT_FALSE(inVrf("__segment_x__VRF_red_segment_web", "Ethernet1"));
  ipStatus->ipIntfStatusIs(intf("Ethernet1"), L3::VrfName("red"));
  EXPECT_TRUE(inVrf("site__VRF_red_segment_web", "Ethernet1"));
  EXPECT_TRUE(inVrf("__segment_x__VRF_red_segment_web", "Ethernet1"));
  EXPECT_FALSE(inVrf("site__VRF_blue_segment_web", "Ethernet1"));
}

TEST_F(ClassMapNameTest, L2ClassMapTakesEveryInterfaceWithoutALookUp) {
  const TraceCapture traces;
  EXPECT_TRUE(doCheckIntfInVrf("__segment_lab", intf("Ethernet1"), nullptr));
  EXPECT_TRUE(doCheckIntfInVrf("site__segment_lab", intf("Ethernet1"), nullptr));
  EXPECT_THAT(traces.records(), ::testing::IsEmpty());
}

using ClassMapNameDeathTest = ClassMapNameTest;

TEST_F(ClassMapNameDeathTest, NameOfNeitherFormIsAnAssertion) {
  EXPECT_DEATH(inVrf("web", "Ethernet1"),
               "cmapName.find\\( \"__segment_\" \\) != std::string::npos");
  EXPECT_DEATH(inVrf("", "Ethernet1"), "cmapName.find\\( \"__segment_\" \\) != std::string::npos");
}

TEST_F(ClassMapNameDeathTest, VrfNameWithoutAnEndIsAnAssertion) {
  ipStatus->ipIntfStatusIs(intf("Ethernet1"), L3::VrfName("red"));
  EXPECT_DEATH(inVrf("__VRF_red", "Ethernet1"), "_segment_.* != std::string::npos");
  EXPECT_DEATH(vrfNameOf("__segment_lab"), "__VRF_.* != std::string::npos");
}

}  // namespace
}  // namespace Firewall
