// The name of a type as it is written in the code, namespace included: "Firewall::HwConfig". How
// built-in numbers are called is up to the compiler.
#pragma once

#include <cstddef>
#include <string_view>

// Outside of Kiv, for g++ leaves out the namespace that a function shares with a type it names.
namespace KivTypeName {

template <class T>
constexpr std::string_view function() {
  return __PRETTY_FUNCTION__;  // "... [with T = NAME; ...]" or "... [T = NAME]"
}

}  // namespace KivTypeName

namespace Kiv {

template <class T>
constexpr std::string_view typeNameOf() {
  const std::string_view function = KivTypeName::function<T>();
  const std::size_t begin = function.find("T = ") + 4;
  const std::size_t end = function.find_first_of(";]", begin);
  return function.substr(begin, end - begin);
}

}  // namespace Kiv
