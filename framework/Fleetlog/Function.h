// A function as its trace sites name it.
//
//   static constexpr Fleetlog::Function fn("void Firewall::RootSm::handlePolicy(const String&)");
//   fn.signature                       // the whole text
//   fn.shortName                       // "handlePolicy"
#pragma once

#include <cstddef>
#include <string_view>

namespace Fleetlog {

// What stands between the last blank or "::" before the parameters and their '('; all of it where
// there is no '('. A '(' within < > does not begin the parameters.
constexpr std::string_view shortNameOf(std::string_view signature) noexcept {
  std::size_t begin = 0;
  int depth = 0;
  for (std::size_t at = 0; at < signature.size(); ++at) {
    const char c = signature[at];
    if (c == '<') ++depth;
    if (c == '>') --depth;
    if (depth != 0) continue;
    if (c == ' ' || c == ':' || c == '*' || c == '&') begin = at + 1;
    if (c == '(') return signature.substr(begin, at - begin);
  }
  return signature;
}

struct Function {
  constexpr explicit Function(std::string_view text) noexcept
      : signature(text), shortName(shortNameOf(text)) {}

  std::string_view signature;
  std::string_view shortName;
};

}  // namespace Fleetlog
