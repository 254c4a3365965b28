// Inclusive ranges of ports, protocols and VLANs. In text a range is "80-443", or "80" when it
// holds one value.
//
// PortRange and ProtocolRange refuse a start above the end ("Firewall::PortRange::start > _end not
// allowed"); a default-constructed one holds 0 alone. They are ordered by start, then end.
// VlanRange holds two VLAN ids and has no default; what the order of the two means is up to who
// reads it.
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>

#include "framework/Kiv/Text.h"
#include "framework/Pith/Export.h"
#include "framework/Pith/Hash.h"
#include "framework/Pith/RangeException.h"
#include "model/Bridging/VlanId.h"

namespace Firewall {

namespace Impl {

// "start-end" or "value", split at the dash.
struct RangeText {
  std::string_view start;
  std::string_view end;
};
PITH_EXPORT RangeText splitRange(std::string_view text);
PITH_EXPORT void appendRange(std::string& out, std::uint16_t start, std::uint16_t end);

}  // namespace Impl

class PITH_EXPORT PortRange {
 public:
  PortRange() noexcept = default;
  PortRange(std::uint16_t start, std::uint16_t end) : start_(start), end_(end) {
    if (start > end) Pith::RangeException::throwException("Firewall::PortRange::start > _end");
  }
  static PortRange all() { return {0, 65535}; }

  std::uint16_t start() const noexcept { return start_; }
  std::uint16_t end() const noexcept { return end_; }

  friend auto operator<=>(const PortRange&, const PortRange&) = default;
  std::uint64_t hash() const noexcept {
    return Pith::hashOf(static_cast<std::uint32_t>(start_) << 16U | end_);
  }
  void appendTo(std::string& out) const { Impl::appendRange(out, start_, end_); }
  static PortRange parse(std::string_view text);

 private:
  std::uint16_t start_ = 0;
  std::uint16_t end_ = 0;
};

class PITH_EXPORT ProtocolRange {
 public:
  ProtocolRange() noexcept = default;
  ProtocolRange(std::uint8_t start, std::uint8_t end) : start_(start), end_(end) {
    if (start > end) Pith::RangeException::throwException("Firewall::ProtocolRange::start > _end");
  }

  std::uint8_t start() const noexcept { return start_; }
  std::uint8_t end() const noexcept { return end_; }

  friend auto operator<=>(const ProtocolRange&, const ProtocolRange&) = default;
  std::uint64_t hash() const noexcept {
    return Pith::hashOf(static_cast<std::uint32_t>(start_) << 8U | end_);
  }
  void appendTo(std::string& out) const { Impl::appendRange(out, start_, end_); }
  static ProtocolRange parse(std::string_view text);

 private:
  std::uint8_t start_ = 0;
  std::uint8_t end_ = 0;
};

class PITH_EXPORT VlanRange {
 public:
  VlanRange(Bridging::VlanId first, Bridging::VlanId second) noexcept
      : second_(second), first_(first) {}
  // Both values are checked as VLAN ids, the second before the first.
  VlanRange(std::uint16_t first, std::uint16_t second) : second_(second), first_(first) {}

  std::uint16_t first() const noexcept { return first_.value(); }
  std::uint16_t second() const noexcept { return second_.value(); }

  bool isEq(const VlanRange& other) const noexcept { return *this == other; }
  friend bool operator==(const VlanRange& a, const VlanRange& b) noexcept {
    return a.first_ == b.first_ && a.second_ == b.second_;
  }
  std::uint64_t hash() const noexcept {
    return Pith::hashOf(static_cast<std::uint32_t>(first()) << 16U | second());
  }
  void appendTo(std::string& out) const { Impl::appendRange(out, first(), second()); }
  static VlanRange parse(std::string_view text);

 private:
  Bridging::VlanId second_;  // declared, and so checked, first
  Bridging::VlanId first_;
};

}  // namespace Firewall
