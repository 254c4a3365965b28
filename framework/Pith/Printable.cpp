#include "framework/Pith/Printable.h"

namespace Pith {

void appendPrintable(std::string& out, std::string_view text) {
  constexpr char digits[] = "0123456789abcdef";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte != 0x7F) {
      out.push_back(c);
    } else {
      out.append("\\x").append(1, digits[byte >> 4U]).append(1, digits[byte & 0xFU]);
    }
  }
}

}  // namespace Pith
