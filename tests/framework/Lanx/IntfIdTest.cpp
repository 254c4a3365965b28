#include "framework/Lanx/IntfId.h"

#include <gtest/gtest.h>

#include <string>

#include "framework/Pith/RangeException.h"
#include "framework/Pith/String.h"
#include "tests/framework/Lanx/AddressSupport.h"

namespace {

using Lanx::IntfId;
using LanxTest::refusal;

TEST(IntfIdTest, defaultIsNoInterface) {
  EXPECT_TRUE(IntfId().empty());
  EXPECT_EQ(IntfId(), IntfId(""));
  EXPECT_EQ(IntfId().shortName(), "");
  EXPECT_FALSE(IntfId("Vlan1").empty());
}

TEST(IntfIdTest, isMadeFromEveryKindOfText) {
  const Pith::String name("Ethernet1");
  EXPECT_EQ(IntfId(name), IntfId("Ethernet1"));
  EXPECT_EQ(IntfId(std::string("Ethernet1")), IntfId(std::string_view("Ethernet1")));
  EXPECT_EQ(IntfId(name).name(), name);
  EXPECT_EQ(IntfId(name).view(), "Ethernet1");
}

TEST(IntfIdTest, sharesTheNameThatItIsMadeFrom) {
  const Pith::String name("Ethernet1");
  const IntfId intf(name);
  const IntfId copy = intf;
  EXPECT_EQ(copy.view().data(), name.view().data());
}

TEST(IntfIdTest, shortNameCutsTheLettersToTwo) {
  const struct {
    const char* name;
    const char* shortName;
  } cases[] = {
      {"Ethernet1/2", "Et1/2"},
      {"Ethernet10/20/1.100", "Et10/20/1.100"},
      {"Port-Channel3", "Po3"},
      {"Vlan10", "Vl10"},
      {"Loopback0", "Lo0"},
      {"Management1", "Ma1"},
      {"Et1", "Et1"},
      {"V1", "V1"},
      {"a-b-c7", "ab7"},
      {"-a1", "a1"},
      {"GigabitEthernet0/0/1a2", "Gi0/0/1a2"},
  };
  for (const auto& [name, shortName] : cases) EXPECT_EQ(IntfId(name).shortName(), shortName);
}

TEST(IntfIdTest, shortNameLosesNothingOfANameOfAnotherShape) {
  for (const char* name :
       {"Cpu", "Null", "Port-Channel", "1/2", "-1", "-", "veth_a1", "\xC3\xA9t1"}) {
    EXPECT_EQ(IntfId(name).shortName(), name);
  }
}

TEST(IntfIdTest, blanksAndControlCharactersAreRefusedWhereverTheyStand) {
  constexpr const char* text = "Lanx::IntfId::name with a blank or a control character not allowed";
  for (unsigned byte = 0; byte < 256; ++byte) {
    for (const std::size_t at : {0U, 4U, 8U}) {
      std::string name = "Ethernet1";
      name[at] = static_cast<char>(byte);
      const bool refused = byte <= 0x20 || byte == 0x7F;
      EXPECT_EQ(refusal<IntfId>(name), refused ? text : "accepted") << byte << " at " << at;
    }
  }
}

TEST(IntfIdTest, nameHasAtMost64Bytes) {
  EXPECT_EQ(refusal<IntfId>(std::string(64, 'e')), "accepted");
  EXPECT_EQ(refusal<IntfId>(std::string(65, 'e')), "Lanx::IntfId::bytes > 64 not allowed");
  EXPECT_THROW(IntfId(std::string(65, 'e')), Pith::RangeException);
}

TEST(IntfIdTest, hashIsThatOfTheName) {
  EXPECT_EQ(IntfId("Ethernet1").hash(), Pith::String("Ethernet1").hash());
}

}  // namespace
