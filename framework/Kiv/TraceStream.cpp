#include "framework/Kiv/TraceStream.h"

#include <array>
#include <charconv>

namespace Kiv {

void TraceStream::appendCharacters(const char* text) {
  text_.append(text == nullptr ? "(null)" : text);
}

void TraceStream::appendAddress(const void* address) {
  std::array<char, 2 * sizeof address> digits;
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(),
                                 reinterpret_cast<std::uintptr_t>(address), 16)
                       .ptr;
  text_.append("0x").append(digits.data(), end);
}

}  // namespace Kiv
