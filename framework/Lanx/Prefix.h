// Prefixes: an address without host bits, and a length. Prefix (IPv4), Ip6Prefix (IPv6) and
// IpGenPrefix, which holds either: the key of a table of networks.
//
//   auto network = Lanx::Prefix::parse("192.0.2.0/24");
//   network.contains(Lanx::IpAddr::parse("192.0.2.1"))                  // true
//   Lanx::Prefix::parse("192.0.2.1/24")                                 // raises
//   Lanx::IpGenPrefix(Lanx::IpAddrWithMask::parse("192.0.2.1/24"))      // 192.0.2.0/24
//
// Prefix and Ip6Prefix refuse host bits: whoever holds one knows that nothing was cut from what the
// user wrote. IpGenPrefix clears them, from a subnet, an address or a text alike, so that every
// subnet has one key. What keeps host bits is IpAddrWithMask (IpAddrWithMask.h); a prefix turns
// into it by itself, and into the generic forms.
//
// Prefix and IpGenPrefix have the unset value: address 0 with the length byte 0xFF, text "unset",
// the default. It means that nothing was said, where 0.0.0.0/0 says all of IPv4: it contains
// nothing, and nothing contains it. IPv6 has none: a default-constructed Ip6Prefix is ::/0.
//
// Text as in IpAddrWithMask.h, order by family, address, length: a prefix comes right before those
// that it contains, the unset one behind 0.0.0.0/32.
//
// Plain values, trivially copyable; IpGenPrefix is 18 bytes without alignment. Comparison,
// contains() and hash() look at two 64-bit words and the length. No operation but those on text
// allocates; a trace records bytes as IpAddr.h says.
//
// Raises Pith::RangeException: "Lanx::Prefix::validAsPrefix != true not allowed" or
// "Lanx::Ip6Prefix::validAsPrefix != true not allowed" for host bits; for a malformed text, a
// length or a family as IpAddrWithMask.h says.
#pragma once

#include <compare>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

#include "framework/Lanx/IpAddr.h"
#include "framework/Lanx/IpAddrWithMask.h"
#include "framework/Pith/Export.h"
#include "framework/Pith/RangeException.h"

namespace Lanx {

class PITH_EXPORT Prefix {
 public:
  constexpr Prefix() noexcept = default;  // unset
  constexpr explicit Prefix(const IpAddrWithMask& subnet) : subnet_(subnet) {
    if (!subnet.validAsPrefix()) {
      Pith::RangeException::throwException("Lanx::Prefix::validAsPrefix != true");
    }
  }
  constexpr Prefix(IpAddr address, std::uint8_t length) : Prefix(IpAddrWithMask(address, length)) {}
  static Prefix parse(std::string_view text);

  constexpr IpAddr address() const noexcept { return subnet_.address(); }
  constexpr std::uint8_t length() const noexcept { return subnet_.length(); }
  constexpr bool isSet() const noexcept { return subnet_.isSet(); }
  constexpr const IpAddrWithMask& subnet() const noexcept { return subnet_; }

  constexpr bool contains(IpAddr other) const noexcept {
    return isSet() && other.masked(length()) == address();
  }
  constexpr bool contains(const Prefix& other) const noexcept {
    return other.isSet() && length() <= other.length() && contains(other.address());
  }

  void appendTo(std::string& out) const { subnet_.appendTo(out); }
  std::string toString() const { return subnet_.toString(); }
  template <class Ring>
  void fleetlogPut(Ring& ring) const {
    subnet_.fleetlogPut(ring);
  }
  std::uint64_t hash() const noexcept { return subnet_.hash(); }

  friend constexpr bool operator==(const Prefix&, const Prefix&) noexcept = default;
  friend constexpr std::strong_ordering operator<=>(const Prefix&,
                                                    const Prefix&) noexcept = default;

 private:
  IpAddrWithMask subnet_;
};

class PITH_EXPORT Ip6Prefix {
 public:
  constexpr Ip6Prefix() noexcept = default;  // ::/0
  constexpr explicit Ip6Prefix(const Ip6AddrWithMask& subnet) : subnet_(subnet) {
    if (!subnet.validAsPrefix()) {
      Pith::RangeException::throwException("Lanx::Ip6Prefix::validAsPrefix != true");
    }
  }
  constexpr Ip6Prefix(const Ip6Addr& address, std::uint8_t length)
      : Ip6Prefix(Ip6AddrWithMask(address, length)) {}
  static Ip6Prefix parse(std::string_view text);

  constexpr const Ip6Addr& address() const noexcept { return subnet_.address(); }
  constexpr std::uint8_t length() const noexcept { return subnet_.length(); }
  constexpr const Ip6AddrWithMask& subnet() const noexcept { return subnet_; }

  constexpr bool contains(const Ip6Addr& other) const noexcept {
    return other.masked(length()) == address();
  }
  constexpr bool contains(const Ip6Prefix& other) const noexcept {
    return length() <= other.length() && contains(other.address());
  }

  void appendTo(std::string& out) const { subnet_.appendTo(out); }
  std::string toString() const { return subnet_.toString(); }
  template <class Ring>
  void fleetlogPut(Ring& ring) const {
    subnet_.fleetlogPut(ring);
  }
  std::uint64_t hash() const noexcept { return subnet_.hash(); }

  friend constexpr bool operator==(const Ip6Prefix&, const Ip6Prefix&) noexcept = default;
  friend constexpr std::strong_ordering operator<=>(const Ip6Prefix&,
                                                    const Ip6Prefix&) noexcept = default;

 private:
  Ip6AddrWithMask subnet_;
};

class PITH_EXPORT IpGenPrefix {
 public:
  constexpr IpGenPrefix() noexcept = default;           // unset
  constexpr IpGenPrefix(const Prefix& prefix) noexcept  // NOLINT(google-explicit-constructor)
      : subnet_(prefix.subnet()) {}
  constexpr IpGenPrefix(const Ip6Prefix& prefix) noexcept  // NOLINT(google-explicit-constructor)
      : subnet_(prefix.subnet()) {}
  // Host bits are cleared.
  constexpr explicit IpGenPrefix(const IpGenAddrWithMask& subnet) noexcept
      : subnet_(subnet.subnet()) {}
  constexpr IpGenPrefix(const IpGenAddr& address, std::uint8_t length)
      : IpGenPrefix(IpGenAddrWithMask(address, length)) {}
  static IpGenPrefix parse(std::string_view text);

  constexpr AddressFamily family() const noexcept { return subnet_.family(); }
  constexpr const IpGenAddr& address() const noexcept { return subnet_.address(); }
  constexpr std::uint8_t length() const noexcept { return subnet_.length(); }
  constexpr bool isSet() const noexcept { return subnet_.isSet(); }
  constexpr const IpGenAddrWithMask& subnet() const noexcept { return subnet_; }
  // The prefix as the family that the caller knows it to have.
  constexpr Prefix ipv4() const { return Prefix(subnet_.ipv4()); }
  constexpr Ip6Prefix ipv6() const { return Ip6Prefix(subnet_.ipv6()); }

  // Nothing of the other family is contained.
  constexpr bool contains(const IpGenAddr& other) const noexcept {
    return isSet() && other.masked(length()) == address();
  }
  constexpr bool contains(const IpGenPrefix& other) const noexcept {
    return other.isSet() && length() <= other.length() && contains(other.address());
  }

  void appendTo(std::string& out) const { subnet_.appendTo(out); }
  std::string toString() const { return subnet_.toString(); }
  template <class Ring>
  void fleetlogPut(Ring& ring) const {
    subnet_.fleetlogPut(ring);
  }
  std::uint64_t hash() const noexcept { return subnet_.hash(); }

  friend constexpr bool operator==(const IpGenPrefix&, const IpGenPrefix&) noexcept = default;
  friend constexpr std::strong_ordering operator<=>(const IpGenPrefix&,
                                                    const IpGenPrefix&) noexcept = default;

 private:
  IpGenAddrWithMask subnet_;
};

PITH_EXPORT std::ostream& operator<<(std::ostream& out, const Prefix& prefix);
PITH_EXPORT std::ostream& operator<<(std::ostream& out, const Ip6Prefix& prefix);
PITH_EXPORT std::ostream& operator<<(std::ostream& out, const IpGenPrefix& prefix);

constexpr IpAddrWithMask::IpAddrWithMask(const Prefix& prefix) noexcept
    : IpAddrWithMask(prefix.subnet()) {}
constexpr Ip6AddrWithMask::Ip6AddrWithMask(const Ip6Prefix& prefix) noexcept
    : Ip6AddrWithMask(prefix.subnet()) {}
constexpr IpGenAddrWithMask::IpGenAddrWithMask(const Prefix& prefix) noexcept
    : IpGenAddrWithMask(prefix.subnet()) {}
constexpr IpGenAddrWithMask::IpGenAddrWithMask(const Ip6Prefix& prefix) noexcept
    : IpGenAddrWithMask(prefix.subnet()) {}
constexpr IpGenAddrWithMask::IpGenAddrWithMask(const IpGenPrefix& prefix) noexcept
    : IpGenAddrWithMask(prefix.subnet()) {}

static_assert(sizeof(Prefix) == 8 && sizeof(Ip6Prefix) == 17 && sizeof(IpGenPrefix) == 18);

}  // namespace Lanx
