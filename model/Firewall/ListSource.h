// Where a segment's prefixes of one family come from: nowhere, a match list, or a prefix list.
//
//   ListSource source = ListSource::matchList("blocked");
//   source.alternative();              // ListSource::Alternative::matchList
//   getListSourceName(source);         // "blocked"; the empty string for none
//
// In text: "none", "matchList:blocked", "prefixList:blocked".
//
// It is a tagged value as others publish it, so a tag that means nothing can exist; reading such a
// value raises the range error "Firewall::ListSource::tag > 2 (bad union access) not allowed".
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "framework/Pith/Export.h"
#include "framework/Pith/String.h"

namespace Firewall {

class PITH_EXPORT ListSource {
 public:
  enum class Alternative : std::uint8_t { none = 0, matchList = 1, prefixList = 2 };

  ListSource() noexcept = default;
  // A name given with the tag of none means nothing and is dropped.
  ListSource(std::uint8_t tag, Pith::String name)
      : tag_(tag), name_(tag == 0 ? Pith::String() : std::move(name)) {}
  static ListSource matchList(const Pith::String& name) { return {1, name}; }
  static ListSource prefixList(const Pith::String& name) { return {2, name}; }

  // Raises the range error when the tag is none of the three.
  Alternative alternative() const;
  // The list's name; empty for none. Raises the same.
  Pith::String name() const;
  // Whether it is of that alternative, which one with another tag is not; raises nothing.
  bool is(Alternative alternative) const noexcept {
    return tag_ == static_cast<std::uint8_t>(alternative);
  }
  bool isNone() const noexcept { return is(Alternative::none); }

  friend bool operator==(const ListSource&, const ListSource&) = default;
  void appendTo(std::string& out) const;
  static ListSource parse(std::string_view text);

 private:
  std::uint8_t tag_ = 0;
  Pith::String name_;
};

PITH_EXPORT Pith::String getListSourceName(const ListSource& source);

}  // namespace Firewall
