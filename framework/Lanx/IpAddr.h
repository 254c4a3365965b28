// Addresses: IpAddr (IPv4), Ip6Addr (IPv6), and IpGenAddr, which holds either or none.
//
//   auto host = Lanx::IpAddr::parse("192.0.2.1");
//   Lanx::IpGenAddr nextHop = host;                          // family ipv4
//   nextHop = Lanx::Ip6Addr::parse("2001:db8::1");           // family ipv6
//   nextHop = Lanx::IpGenAddr();                             // no address; its text is "none"
//
// Text. IPv4 is four decimal numbers without leading zeros: unlike inet_aton(), "10.1" and
// "010.0.0.1" are refused, since people disagree about what they mean. IPv6 is read in every form
// of RFC 4291, 2.2 and written in the one form of RFC 5952: lower case, no leading zeros,
// "::" for the first longest run of two or more zero groups; an IPv4-mapped address, and no other,
// ends in a dotted quad (RFC 5952 section 5). Unlike inet_ntop(), the deprecated IPv4-compatible
// ::192.0.2.1 is written ::c000:201. No blanks, no zone ids, no brackets. parse(toString()) gives
// the same value back.
//
// Order is by family, then by the address as a number. An IPv4 address is not equal to the
// IPv4-mapped IPv6 address: those are different keys.
//
// Plain values, trivially copyable; IpAddr is aligned as its number, the others not at all, so that
// a record that holds one has no gaps. Comparison and masking look at two 64-bit words; a hash is
// at most two multiplications. No operation but those on text allocates.
//
// A trace records their bytes, and the text is made when the trace is read (fleetlogPut(), see
// framework/Fleetlog/RingBuf.h).
//
// Raises Pith::RangeException where a text is malformed or a family is not the one asked for.
#pragma once

#include <array>
#include <bit>
#include <compare>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

#include "framework/Lanx/AddressFamily.h"
#include "framework/Pith/Export.h"
#include "framework/Pith/Hash.h"
#include "framework/Pith/RangeException.h"

namespace Lanx {

PITH_EXPORT inline constexpr std::string_view noAddressText = "none";

class PITH_EXPORT IpAddr {
 public:
  static constexpr std::uint8_t bits = 32;

  constexpr IpAddr() noexcept = default;  // 0.0.0.0
  // 0x0a000001 is 10.0.0.1.
  constexpr explicit IpAddr(std::uint32_t value) noexcept : value_(value) {}
  static IpAddr parse(std::string_view text);

  constexpr std::uint32_t value() const noexcept { return value_; }
  // The first `length` bits, the others 0; a length of 32 and more keeps them all.
  constexpr IpAddr masked(std::uint8_t length) const noexcept {
    if (length >= bits) return *this;
    return IpAddr(length == 0 ? 0 : value_ & (~std::uint32_t{0} << (bits - length)));
  }

  void appendTo(std::string& out) const;
  std::string toString() const;
  template <class Ring>
  void fleetlogPut(Ring& ring) const {
    ring.putIp4(value_);
  }
  std::uint64_t hash() const noexcept { return Pith::hashOf(value_); }

  friend constexpr bool operator==(IpAddr, IpAddr) noexcept = default;
  friend constexpr std::strong_ordering operator<=>(IpAddr, IpAddr) noexcept = default;

 private:
  std::uint32_t value_ = 0;
};

class PITH_EXPORT Ip6Addr {
 public:
  static constexpr std::uint8_t bits = 128;
  using Bytes = std::array<std::uint8_t, 16>;

  constexpr Ip6Addr() noexcept = default;  // ::
  // In the order of the wire (RFC 4291, 2.2).
  constexpr explicit Ip6Addr(const Bytes& bytes) noexcept : bytes_(bytes) {}
  // Ip6Addr(0x20010db800000000, 1) is 2001:db8::1.
  constexpr Ip6Addr(std::uint64_t high, std::uint64_t low) noexcept
      : bytes_(std::bit_cast<Bytes>(Words{bigEndian(high), bigEndian(low)})) {}
  static Ip6Addr parse(std::string_view text);

  constexpr const Bytes& bytes() const noexcept { return bytes_; }
  constexpr std::uint64_t high() const noexcept { return bigEndian(words()[0]); }
  constexpr std::uint64_t low() const noexcept { return bigEndian(words()[1]); }
  // The first `length` bits, the others 0; a length of 128 and more keeps them all.
  constexpr Ip6Addr masked(std::uint8_t length) const noexcept {
    constexpr std::uint64_t ones = ~std::uint64_t{0};
    if (length >= bits) return *this;
    if (length > 64) return {high(), low() & (ones << (bits - length))};
    return {length == 0 ? 0 : high() & (ones << (64 - length)), 0};
  }

  void appendTo(std::string& out) const;
  std::string toString() const;
  template <class Ring>
  void fleetlogPut(Ring& ring) const {
    ring.putIp6(high(), low());
  }
  std::uint64_t hash() const noexcept { return Pith::hashCombine(words()[0], words()[1]); }

  friend constexpr bool operator==(const Ip6Addr& a, const Ip6Addr& b) noexcept {
    return a.words() == b.words();
  }
  friend constexpr std::strong_ordering operator<=>(const Ip6Addr& a, const Ip6Addr& b) noexcept {
    const auto order = a.high() <=> b.high();
    return order != 0 ? order : a.low() <=> b.low();
  }

 private:
  using Words = std::array<std::uint64_t, 2>;
  constexpr Words words() const noexcept { return std::bit_cast<Words>(bytes_); }
  static constexpr std::uint64_t bigEndian(std::uint64_t word) noexcept {
    return std::endian::native == std::endian::big ? word : __builtin_bswap64(word);
  }

  Bytes bytes_{};
};

class PITH_EXPORT IpGenAddr {
 public:
  constexpr IpGenAddr() noexcept = default;     // no address
  constexpr IpGenAddr(IpAddr address) noexcept  // NOLINT(google-explicit-constructor)
      : family_(AddressFamily::ipv4), storage_(std::uint64_t{address.value()} << 32U, 0) {}
  constexpr IpGenAddr(const Ip6Addr& address) noexcept  // NOLINT(google-explicit-constructor)
      : family_(AddressFamily::ipv6), storage_(address) {}
  // The address 0 of the family: 0.0.0.0, :: or no address.
  constexpr explicit IpGenAddr(AddressFamily family) : family_(family) {
    if (family > AddressFamily::ipv6) {
      Pith::RangeException::throwException("Lanx::IpGenAddr::family > 2");
    }
  }
  // A text with a ':' is IPv6, one without is IPv4, and "none" is no address.
  static IpGenAddr parse(std::string_view text);

  constexpr AddressFamily family() const noexcept { return family_; }
  // 32, 128, or 0 where there is no address.
  constexpr std::uint8_t bits() const noexcept { return addressBits(family_); }
  // The address as the family that the caller knows it to have.
  constexpr IpAddr ipv4() const {
    require(AddressFamily::ipv4, "Lanx::IpGenAddr::family != 1");
    return IpAddr(static_cast<std::uint32_t>(storage_.high() >> 32U));
  }
  constexpr Ip6Addr ipv6() const {
    require(AddressFamily::ipv6, "Lanx::IpGenAddr::family != 2");
    return storage_;
  }
  // The first `length` bits, the others 0; a length of bits() and more keeps them all.
  constexpr IpGenAddr masked(std::uint8_t length) const noexcept {
    IpGenAddr result = *this;
    result.storage_ = storage_.masked(length);
    return result;
  }

  void appendTo(std::string& out) const;
  std::string toString() const;
  template <class Ring>
  void fleetlogPut(Ring& ring) const {
    if (family_ == AddressFamily::ipv4) {
      ring.put(ipv4());
    } else if (family_ == AddressFamily::ipv6) {
      ring.put(storage_);
    } else {
      ring.put(noAddressText);
    }
  }
  std::uint64_t hash() const noexcept { return hashWith(0); }
  // The hash of the address and one more byte, such as a length, for the cost of the address alone.
  std::uint64_t hashWith(std::uint8_t byte) const noexcept {
    return Pith::hashCombine(storage_.hash(), static_cast<std::uint64_t>(family_) << 8U | byte);
  }

  friend constexpr bool operator==(const IpGenAddr&, const IpGenAddr&) noexcept = default;
  friend constexpr std::strong_ordering operator<=>(const IpGenAddr&,
                                                    const IpGenAddr&) noexcept = default;

 private:
  constexpr void require(AddressFamily family, std::string_view condition) const {
    if (family_ != family) Pith::RangeException::throwException(condition);
  }

  AddressFamily family_ = AddressFamily::unspecified;
  Ip6Addr storage_;  // an IPv4 address lies in the first four bytes, so that masks and order agree
};

PITH_EXPORT std::ostream& operator<<(std::ostream& out, IpAddr address);
PITH_EXPORT std::ostream& operator<<(std::ostream& out, const Ip6Addr& address);
PITH_EXPORT std::ostream& operator<<(std::ostream& out, const IpGenAddr& address);

static_assert(sizeof(IpAddr) == 4 && sizeof(Ip6Addr) == 16 && sizeof(IpGenAddr) == 17);

}  // namespace Lanx
