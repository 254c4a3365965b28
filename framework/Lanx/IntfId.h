// The identifier of an interface, which is its name.
//
//   Lanx::IntfId intf("Ethernet1/2");
//   intf.shortName()      // "Et1/2", for traces
//   Lanx::IntfId().empty()    // true: no interface; its text is the empty text
//
// The name is at most 64 bytes, without blanks and control characters, so that it stands in a line
// of trace as one word. Order is by bytes ("Ethernet10" before "Ethernet2"), not the natural order
// of a listing. An identifier says nothing about whether the interface exists.
//
// One counted reference to the name: a copy is an increment, equality mostly a comparison of two
// pointers, hash() is read and not computed. Making one from a text allocates once.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

#include "framework/Pith/Export.h"
#include "framework/Pith/String.h"

namespace Lanx {

class PITH_EXPORT IntfId {
 public:
  static constexpr std::size_t maxBytes = 64;

  IntfId() noexcept = default;  // no interface
  // Raises Pith::RangeException for a name that is too long or has a blank or a control character.
  explicit IntfId(Pith::String name);
  static IntfId parse(std::string_view text) { return IntfId(text); }

  const Pith::String& name() const noexcept { return name_; }
  std::string_view view() const noexcept { return name_.view(); }
  bool empty() const noexcept { return name_.empty(); }
  // The letters and dashes before the first digit cut to their first two letters: "Po3" for
  // "Port-Channel3". A name that does not begin so, or has no digit there, stays whole.
  std::string shortName() const;

  void appendTo(std::string& out) const { out.append(view()); }
  std::string toString() const { return std::string(view()); }
  // A trace records the name's bytes.
  template <class Ring>
  void fleetlogPut(Ring& ring) const {
    ring.put(view());
  }
  std::uint64_t hash() const noexcept { return name_.hash(); }

  friend bool operator==(const IntfId&, const IntfId&) noexcept = default;
  friend std::strong_ordering operator<=>(const IntfId& a, const IntfId& b) noexcept {
    return a.name_ <=> b.name_;
  }

 private:
  Pith::String name_;
};

PITH_EXPORT std::ostream& operator<<(std::ostream& out, const IntfId& intf);

}  // namespace Lanx
