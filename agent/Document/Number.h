// Texts as numbers.
#pragma once

#include <charconv>
#include <string_view>
#include <system_error>

namespace Agent {

// Whether all of the text is a number of the type, which is then in `number`.
template <class Number>
bool isNumber(std::string_view text, Number& number) {
  const char* const end = text.data() + text.size();
  const auto [stop, failed] = std::from_chars(text.data(), end, number);
  return failed == std::errc() && stop == end;
}

}  // namespace Agent
