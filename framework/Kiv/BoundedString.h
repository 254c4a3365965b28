// A string with a longest length, checked when it is made.
//
//   using VrfName = Kiv::BoundedString<100>;
//   VrfName name(Pith::String("default"));   // 101 bytes and more raise the range error
//                                            // "Kiv::String::bytes > maxLength() not allowed"
//
// Otherwise it is a Pith::String: the same pointer, copied at the cost of one increment.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "framework/Pith/RangeException.h"
#include "framework/Pith/String.h"

namespace Kiv {

template <std::uint32_t maxBytes>
class BoundedString : public Pith::String {
 public:
  static constexpr std::uint32_t maxLength() noexcept { return maxBytes; }

  BoundedString() noexcept = default;
  // NOLINTBEGIN(google-explicit-constructor)
  BoundedString(const Pith::String& text) : String(checked(text)) {}
  BoundedString(std::string_view text) : String(checked(text)) {}
  BoundedString(const char* text) : BoundedString(std::string_view(text)) {}
  BoundedString(const std::string& text) : BoundedString(std::string_view(text)) {}
  // NOLINTEND(google-explicit-constructor)

 private:
  template <class Text>
  static const Text& checked(const Text& text) {
    if (text.size() <= maxBytes) return text;
    Pith::RangeException::throwException("Kiv::String::bytes > maxLength()");
  }
};

}  // namespace Kiv
