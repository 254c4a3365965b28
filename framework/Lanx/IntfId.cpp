#include "framework/Lanx/IntfId.h"

#include <algorithm>
#include <ostream>
#include <utility>

#include "framework/Pith/RangeException.h"

namespace Lanx {
namespace {

constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }
constexpr bool isLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
// Bytes above 0x7F are letters of some alphabet in UTF-8.
constexpr bool isBlankOrControl(char c) {
  return static_cast<unsigned char>(c) <= ' ' || c == '\x7F';
}

}  // namespace

IntfId::IntfId(Pith::String name) : name_(std::move(name)) {
  const std::string_view text = name_.view();
  if (text.size() > maxBytes) Pith::RangeException::throwException("Lanx::IntfId::bytes > 64");
  if (std::any_of(text.begin(), text.end(), isBlankOrControl)) {
    Pith::RangeException::throwException("Lanx::IntfId::name with a blank or a control character");
  }
}

std::string IntfId::shortName() const {
  const std::string_view text = view();
  const auto rest =
      std::find_if_not(text.begin(), text.end(), [](char c) { return isLetter(c) || c == '-'; });
  std::string result;
  for (auto at = text.begin(); at != rest && result.size() < 2; ++at) {
    if (isLetter(*at)) result += *at;
  }
  if (rest == text.end() || !isDigit(*rest) || result.empty()) return toString();
  return result.append(rest, text.end());
}

std::ostream& operator<<(std::ostream& out, const IntfId& intf) { return out << intf.view(); }

}  // namespace Lanx
