// What every value type of this folder promises alike: text, equality, order and hash. A type is
// given as texts in ascending order, each in the form in which it is written.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <set>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "framework/Fleetlog/Decode.h"
#include "framework/Fleetlog/RingBuf.h"
#include "framework/Fleetlog/TraceFile.h"
#include "framework/Lanx/IntfId.h"
#include "framework/Lanx/IpAddr.h"
#include "framework/Lanx/IpAddrWithMask.h"
#include "framework/Lanx/Prefix.h"
#include "framework/Pith/Hash.h"

namespace {

using Texts = std::vector<std::string>;

template <class T>
struct Sample;

template <>
struct Sample<Lanx::IpAddr> {
  static inline const Texts ascending{"0.0.0.0",       "0.0.0.1",   "0.0.1.0",
                                      "1.0.0.0",       "9.9.9.9",   "10.0.0.1",
                                      "127.255.255.9", "128.0.0.0", "255.255.255.255"};
  static inline const std::string byDefault = "0.0.0.0";
};

template <>
struct Sample<Lanx::Ip6Addr> {
  static inline const Texts ascending{"::",
                                      "::1",
                                      "::100",
                                      "::ffff:0.0.0.1",
                                      "::1:0:0:0",
                                      "::8000:0:0:0",
                                      "0:0:0:1::",
                                      "64:ff9b::1",
                                      "2001:db8::1",
                                      "2001:db8::100",
                                      "2001:db8:1::",
                                      "fe80::1",
                                      "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff"};
  static inline const std::string byDefault = "::";
};

template <>
struct Sample<Lanx::IpGenAddr> {
  static inline const Texts ascending{"none", "0.0.0.0",         "10.0.0.1", "255.0.0.0",
                                      "::",   "::ffff:10.0.0.1", "a00:1::",  "ff00::"};
  static inline const std::string byDefault = "none";
};

template <>
struct Sample<Lanx::IpAddrWithMask> {
  static inline const Texts ascending{"0.0.0.0/0",  "0.0.0.0/32",        "unset",
                                      "0.0.0.1/0",  "10.0.0.0/8",        "10.0.0.0/9",
                                      "10.0.0.1/8", "255.255.255.255/32"};
  static inline const std::string byDefault = "unset";
};

template <>
struct Sample<Lanx::Ip6AddrWithMask> {
  static inline const Texts ascending{"::/0",          "::/128",        "::1/0",
                                      "2001:db8::/32", "2001:db8::/33", "2001:db8::1/32"};
  static inline const std::string byDefault = "::/0";
};

template <>
struct Sample<Lanx::IpGenAddrWithMask> {
  static inline const Texts ascending{"0.0.0.0/0",  "0.0.0.0/32", "unset",  "0.0.0.1/0",
                                      "10.0.0.1/8", "::/0",       "::/128", "a00:1::/8"};
  static inline const std::string byDefault = "unset";
};

template <>
struct Sample<Lanx::Prefix> {
  static inline const Texts ascending{"0.0.0.0/0",  "0.0.0.0/32", "unset",      "0.0.0.1/32",
                                      "10.0.0.0/8", "10.0.0.0/9", "10.0.0.1/32"};
  static inline const std::string byDefault = "unset";
};

template <>
struct Sample<Lanx::Ip6Prefix> {
  static inline const Texts ascending{"::/0", "::/128", "::1/128", "2001:db8::/32",
                                      "2001:db8::/33"};
  static inline const std::string byDefault = "::/0";
};

template <>
struct Sample<Lanx::IpGenPrefix> {
  static inline const Texts ascending{"0.0.0.0/0",  "0.0.0.0/32", "unset",  "0.0.0.1/32",
                                      "10.0.0.0/8", "::/0",       "::/128", "a00::/8"};
  static inline const std::string byDefault = "unset";
};

template <>
struct Sample<Lanx::IntfId> {
  static inline const Texts ascending{"",          "Ethernet1",     "Ethernet1/2", "Ethernet10",
                                      "Ethernet2", "Port-Channel3", "Vlan10"};
  static inline const std::string byDefault;
};

template <class T>
class ValueContractTest : public ::testing::Test {
 protected:
  static std::vector<T> values() {
    std::vector<T> result;
    for (const std::string& text : Sample<T>::ascending) result.push_back(T::parse(text));
    return result;
  }
};

using ValueTypes =
    ::testing::Types<Lanx::IpAddr, Lanx::Ip6Addr, Lanx::IpGenAddr, Lanx::IpAddrWithMask,
                     Lanx::Ip6AddrWithMask, Lanx::IpGenAddrWithMask, Lanx::Prefix, Lanx::Ip6Prefix,
                     Lanx::IpGenPrefix, Lanx::IntfId>;
TYPED_TEST_SUITE(ValueContractTest, ValueTypes);

TYPED_TEST(ValueContractTest, textIsReadAndWrittenTheSame) {
  for (const std::string& text : Sample<TypeParam>::ascending) {
    EXPECT_EQ(TypeParam::parse(text).toString(), text);
  }
}

TYPED_TEST(ValueContractTest, defaultValueHasItsText) {
  EXPECT_EQ(TypeParam().toString(), Sample<TypeParam>::byDefault);
  EXPECT_EQ(TypeParam::parse(Sample<TypeParam>::byDefault), TypeParam());
}

TYPED_TEST(ValueContractTest, appendToKeepsWhatIsThere) {
  for (const std::string& text : Sample<TypeParam>::ascending) {
    std::string out = "before ";
    TypeParam::parse(text).appendTo(out);
    EXPECT_EQ(out, "before " + text);
  }
}

TYPED_TEST(ValueContractTest, streamGetsTheText) {
  for (const std::string& text : Sample<TypeParam>::ascending) {
    std::ostringstream out;
    out << TypeParam::parse(text);
    EXPECT_EQ(out.str(), text);
  }
}

// Of addresses the recorder holds bytes; their text is made by who reads it.
TYPED_TEST(ValueContractTest, recorderIsGivenBytesAndShowsTheText) {
  static constinit Pith::TraceFacility facility("Test/Lanx");
  static constinit Fleetlog::MsgDesc desc(facility, Fleetlog::Function("value"), "%s", 1, 5,
                                          Fleetlog::withoutSignature);
  constexpr bool isText = std::is_same_v<TypeParam, Lanx::IntfId>;
  for (const std::string& text : Sample<TypeParam>::ascending) {
    Fleetlog::TraceFile file({.ringBytes = 1, .descriptorBytes = 1});
    Fleetlog::RingBuf ring(file);
    ASSERT_TRUE(ring.startMsg(desc));
    ring.put(TypeParam::parse(text));
    ring.endMsg();
    std::vector<std::string> shown;
    Fleetlog::decode(file.bytes(),
                     [&](const Fleetlog::Message& message) { shown.emplace_back(message.text); });
    EXPECT_EQ(shown, Texts{text});
    const bool isWord = text == "none" || text == "unset";
    if (isText || isWord) continue;
    const auto* const begin = reinterpret_cast<const char*>(file.bytes().data());
    const auto* const end = begin + file.bytes().size();
    const std::string address = text.substr(0, text.find('/'));
    EXPECT_EQ(std::search(begin, end, address.begin(), address.end()), end) << text;
  }
}

TYPED_TEST(ValueContractTest, orderAndEqualityAgreeForEveryPair) {
  const std::vector<TypeParam> values = TestFixture::values();
  for (std::size_t i = 0; i < values.size(); ++i) {
    for (std::size_t j = 0; j < values.size(); ++j) {
      SCOPED_TRACE(values[i].toString() + " and " + values[j].toString());
      EXPECT_EQ(values[i] <=> values[j], i <=> j);
      EXPECT_EQ(values[i] == values[j], i == j);
    }
  }
}

TYPED_TEST(ValueContractTest, equalValuesHashAlikeAndDifferentOnesApart) {
  std::set<std::uint64_t> hashes;
  for (const std::string& text : Sample<TypeParam>::ascending) {
    const TypeParam value = TypeParam::parse(text);
    const TypeParam copy = value;
    EXPECT_EQ(TypeParam::parse(text).hash(), copy.hash());
    EXPECT_EQ(Pith::hashOf(value), value.hash());
    hashes.insert(value.hash());
  }
  EXPECT_EQ(hashes.size(), Sample<TypeParam>::ascending.size());
}

TYPED_TEST(ValueContractTest, addressesAreTriviallyCopyable) {
  constexpr bool plain = !std::is_same_v<TypeParam, Lanx::IntfId>;
  EXPECT_EQ(std::is_trivially_copyable_v<TypeParam>, plain);
  EXPECT_TRUE(std::is_nothrow_default_constructible_v<TypeParam>);
  EXPECT_TRUE(std::is_nothrow_copy_constructible_v<TypeParam>);
}

}  // namespace
