// Subnets: an address with the length of its mask, host bits kept. IpAddrWithMask (IPv4),
// Ip6AddrWithMask (IPv6) and IpGenAddrWithMask, which holds either.
//
//   auto subnet = Lanx::IpAddrWithMask::parse("192.0.2.1/24");
//   subnet.subnet()           // 192.0.2.0/24
//   subnet.validAsPrefix()    // false: the .1 are host bits
//
// What a user typed, as typed: 192.0.2.1/24 and 192.0.2.0/24 are different values. The key of a
// table is a Prefix (Prefix.h), which has no host bits.
//
// The IPv4 and the generic type have one more value, the unset one: address 0 with the length byte
// 0xFF. It is what a default-constructed value is, and its text is "unset". It sorts behind
// 0.0.0.0/32 and before 0.0.0.1/0, and is valid as a prefix: the unset Prefix. IPv6 has none: a
// default-constructed Ip6AddrWithMask is ::/0.
//
// The text is address, '/', length (RFC 4632, 3.1; RFC 4291, 2.3); the length is
// decimal, without sign or leading zeros, and never left out. Order is by family, address, length.
//
// Plain values, trivially copyable. No operation but those on text allocates; a trace records bytes
// as IpAddr.h says.
//
// Raises Pith::RangeException where a text is malformed, a length is longer than the address, or a
// family is not the one asked for.
#pragma once

#include <compare>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

#include "framework/Lanx/IpAddr.h"
#include "framework/Pith/Export.h"
#include "framework/Pith/Hash.h"
#include "framework/Pith/RangeException.h"

namespace Lanx {

class Prefix;  // Prefix.h, where the conversions from the prefixes are defined
class Ip6Prefix;
class IpGenPrefix;

// The length byte of the unset value; no other value has a length above 128.
inline constexpr std::uint8_t unsetLength = 0xFF;
PITH_EXPORT inline constexpr std::string_view unsetText = "unset";

class PITH_EXPORT IpAddrWithMask {
 public:
  constexpr IpAddrWithMask() noexcept = default;  // unset
  // `length` is at most 32, or the length byte of the unset value where the address is 0.
  constexpr IpAddrWithMask(IpAddr address, std::uint8_t length)
      : address_(address), length_(length) {
    if (length > IpAddr::bits && *this != IpAddrWithMask()) {
      Pith::RangeException::throwException("Lanx::IpAddrWithMask::length > 32");
    }
  }
  // NOLINTNEXTLINE(google-explicit-constructor)
  constexpr IpAddrWithMask(const Prefix& prefix) noexcept;
  static IpAddrWithMask parse(std::string_view text);

  constexpr IpAddr address() const noexcept { return address_; }
  constexpr std::uint8_t length() const noexcept { return length_; }
  constexpr bool isSet() const noexcept { return length_ != unsetLength; }
  constexpr bool validAsPrefix() const noexcept { return address_.masked(length_) == address_; }
  // The same with the host bits cleared.
  constexpr IpAddrWithMask subnet() const noexcept {
    IpAddrWithMask result = *this;
    result.address_ = address_.masked(length_);
    return result;
  }

  void appendTo(std::string& out) const;
  std::string toString() const;
  template <class Ring>
  void fleetlogPut(Ring& ring) const {
    if (isSet()) {
      ring.put(address_).put('/').put(length_);
    } else {
      ring.put(unsetText);
    }
  }
  std::uint64_t hash() const noexcept {
    return Pith::hashOf(std::uint64_t{address_.value()} << 8U | length_);
  }

  friend constexpr bool operator==(const IpAddrWithMask&, const IpAddrWithMask&) noexcept = default;
  friend constexpr std::strong_ordering operator<=>(const IpAddrWithMask&,
                                                    const IpAddrWithMask&) noexcept = default;

 private:
  IpAddr address_;
  std::uint8_t length_ = unsetLength;
};

class PITH_EXPORT Ip6AddrWithMask {
 public:
  constexpr Ip6AddrWithMask() noexcept = default;  // ::/0
  // `length` is at most 128.
  constexpr Ip6AddrWithMask(const Ip6Addr& address, std::uint8_t length)
      : address_(address), length_(length) {
    if (length > Ip6Addr::bits) {
      Pith::RangeException::throwException("Lanx::Ip6AddrWithMask::length > 128");
    }
  }
  // NOLINTNEXTLINE(google-explicit-constructor)
  constexpr Ip6AddrWithMask(const Ip6Prefix& prefix) noexcept;
  static Ip6AddrWithMask parse(std::string_view text);

  constexpr const Ip6Addr& address() const noexcept { return address_; }
  constexpr std::uint8_t length() const noexcept { return length_; }
  constexpr bool validAsPrefix() const noexcept { return address_.masked(length_) == address_; }
  // The same with the host bits cleared.
  constexpr Ip6AddrWithMask subnet() const noexcept {
    Ip6AddrWithMask result = *this;
    result.address_ = address_.masked(length_);
    return result;
  }

  void appendTo(std::string& out) const;
  std::string toString() const;
  template <class Ring>
  void fleetlogPut(Ring& ring) const {
    ring.put(address_).put('/').put(length_);
  }
  std::uint64_t hash() const noexcept { return Pith::hashCombine(address_.hash(), length_); }

  friend constexpr bool operator==(const Ip6AddrWithMask&,
                                   const Ip6AddrWithMask&) noexcept = default;
  friend constexpr std::strong_ordering operator<=>(const Ip6AddrWithMask&,
                                                    const Ip6AddrWithMask&) noexcept = default;

 private:
  Ip6Addr address_;
  std::uint8_t length_ = 0;
};

class PITH_EXPORT IpGenAddrWithMask {
 public:
  constexpr IpGenAddrWithMask() noexcept : address_(AddressFamily::ipv4) {}  // unset
  // The address has a family; `length` is at most its bits(), or the length byte of the unset value
  // where the address is 0.0.0.0.
  constexpr IpGenAddrWithMask(const IpGenAddr& address, std::uint8_t length)
      : address_(address), length_(length) {
    if (address.family() == AddressFamily::unspecified) {
      Pith::RangeException::throwException("Lanx::IpGenAddrWithMask::family == 0");
    }
    if (length > address.bits() && *this != IpGenAddrWithMask()) {
      Pith::RangeException::throwException(address.family() == AddressFamily::ipv4
                                               ? "Lanx::IpGenAddrWithMask::length > 32"
                                               : "Lanx::IpGenAddrWithMask::length > 128");
    }
  }
  // NOLINTBEGIN(google-explicit-constructor)
  constexpr IpGenAddrWithMask(const IpAddrWithMask& subnet) noexcept
      : address_(subnet.address()), length_(subnet.length()) {}
  constexpr IpGenAddrWithMask(const Ip6AddrWithMask& subnet) noexcept
      : address_(subnet.address()), length_(subnet.length()) {}
  constexpr IpGenAddrWithMask(const Prefix& prefix) noexcept;
  constexpr IpGenAddrWithMask(const Ip6Prefix& prefix) noexcept;
  constexpr IpGenAddrWithMask(const IpGenPrefix& prefix) noexcept;
  // NOLINTEND(google-explicit-constructor)
  // A text with a ':' is IPv6, one without is IPv4.
  static IpGenAddrWithMask parse(std::string_view text);

  constexpr AddressFamily family() const noexcept { return address_.family(); }
  constexpr const IpGenAddr& address() const noexcept { return address_; }
  constexpr std::uint8_t length() const noexcept { return length_; }
  constexpr bool isSet() const noexcept { return length_ != unsetLength; }
  constexpr bool validAsPrefix() const noexcept { return address_.masked(length_) == address_; }
  // The same with the host bits cleared.
  constexpr IpGenAddrWithMask subnet() const noexcept {
    IpGenAddrWithMask result = *this;
    result.address_ = address_.masked(length_);
    return result;
  }
  // The subnet as the family that the caller knows it to have.
  constexpr IpAddrWithMask ipv4() const { return {address_.ipv4(), length_}; }
  constexpr Ip6AddrWithMask ipv6() const { return {address_.ipv6(), length_}; }

  void appendTo(std::string& out) const;
  std::string toString() const;
  template <class Ring>
  void fleetlogPut(Ring& ring) const {
    if (isSet()) {
      ring.put(address_).put('/').put(length_);
    } else {
      ring.put(unsetText);
    }
  }
  std::uint64_t hash() const noexcept { return address_.hashWith(length_); }

  friend constexpr bool operator==(const IpGenAddrWithMask&,
                                   const IpGenAddrWithMask&) noexcept = default;
  friend constexpr std::strong_ordering operator<=>(const IpGenAddrWithMask&,
                                                    const IpGenAddrWithMask&) noexcept = default;

 private:
  IpGenAddr address_;
  std::uint8_t length_ = unsetLength;
};

PITH_EXPORT std::ostream& operator<<(std::ostream& out, const IpAddrWithMask& subnet);
PITH_EXPORT std::ostream& operator<<(std::ostream& out, const Ip6AddrWithMask& subnet);
PITH_EXPORT std::ostream& operator<<(std::ostream& out, const IpGenAddrWithMask& subnet);

static_assert(sizeof(IpAddrWithMask) == 8 && sizeof(Ip6AddrWithMask) == 17 &&
              sizeof(IpGenAddrWithMask) == 18);

}  // namespace Lanx
