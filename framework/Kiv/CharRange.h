// A stretch of text that is being read: what is left of it.
//
// A value type that reads itself from text offers a constructor `T(Kiv::CharRange&)`, which takes
// what belongs to it and leaves the rest.
#pragma once

#include <cstddef>
#include <string_view>

namespace Kiv {

class CharRange {
 public:
  CharRange(std::string_view text) noexcept : text_(text) {}  // NOLINT(google-explicit-constructor)

  std::string_view view() const noexcept { return text_; }
  bool empty() const noexcept { return text_.empty(); }

  // Takes the next `length` characters, or all that are left.
  std::string_view take(std::size_t length) noexcept {
    const std::string_view taken = text_.substr(0, length);
    text_.remove_prefix(taken.size());
    return taken;
  }
  std::string_view takeAll() noexcept { return take(text_.size()); }

 private:
  std::string_view text_;
};

}  // namespace Kiv
