// Paths: how an object or an entry is found below another one.
//
// A path is the attributes' names and the entries' keys joined by "/": "vrf/red/segment/web". In a
// key, "/" is written %2F and "%" %25; an empty key is an empty step ("policy/").
#pragma once

#include <string>
#include <string_view>

#include "framework/Pith/Export.h"

namespace Kiv {

// The steps of a path, one after the other.
class Path {
 public:
  explicit Path(std::string_view text) noexcept : rest_(text), atEnd_(text.empty()) {}

  bool atEnd() const noexcept { return atEnd_; }
  // What step() has not taken yet.
  std::string_view rest() const noexcept { return rest_; }
  // Takes the next step, as it is written. Precondition: not at the end.
  std::string_view step() noexcept {
    const std::string_view taken = rest_.substr(0, rest_.find('/'));
    atEnd_ = taken.size() == rest_.size();
    rest_.remove_prefix(atEnd_ ? taken.size() : taken.size() + 1);
    return taken;
  }

 private:
  std::string_view rest_;
  bool atEnd_;
};

// A key as a step of a path, and back.
PITH_EXPORT void appendPathKey(std::string& path, std::string_view key);
PITH_EXPORT std::string pathKeyFromText(std::string_view step);

}  // namespace Kiv
