// The small enumerations and flags of the firewall configuration.
#pragma once

#include <array>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

#include "framework/Pith/Export.h"
#include "framework/Pith/Hash.h"

namespace Firewall {

// What a rule does with a packet. The default drops, so that a forgotten action never opens a path;
// redirect is the one that uses the rule's next hop.
enum class Action : std::uint8_t { drop = 0, forward = 1, redirect = 2 };
constexpr std::array<std::string_view, 3> enumNames(Action /*any*/) {
  return {"drop", "forward", "redirect"};
}
PITH_EXPORT std::ostream& operator<<(std::ostream& out, Action action);

// What a source wants done with packets that no policy matches. Any source that says `forward`
// turns the global drop off.
enum class DefaultPolicy : std::uint8_t { unset = 0, drop = 1, forward = 2 };
constexpr std::array<std::string_view, 3> enumNames(DefaultPolicy /*any*/) {
  return {"unset", "drop", "forward"};
}

// The kinds of forwarding that the firewall applies to, a set of flags. In text the flags joined by
// "|", or "none".
class PITH_EXPORT ForwardingTypeMatch {
 public:
  static constexpr std::uint8_t bridged = 1;
  static constexpr std::uint8_t routed = 2;

  constexpr ForwardingTypeMatch() noexcept = default;
  constexpr explicit ForwardingTypeMatch(std::uint8_t flags) noexcept : flags_(flags) {}

  constexpr std::uint8_t flags() const noexcept { return flags_; }
  friend constexpr ForwardingTypeMatch operator|(ForwardingTypeMatch a,
                                                 ForwardingTypeMatch b) noexcept {
    return ForwardingTypeMatch(static_cast<std::uint8_t>(a.flags_ | b.flags_));
  }
  friend constexpr bool operator==(ForwardingTypeMatch, ForwardingTypeMatch) = default;
  void appendTo(std::string& out) const;
  static ForwardingTypeMatch parse(std::string_view text);

 private:
  std::uint8_t flags_ = 0;
};

}  // namespace Firewall
