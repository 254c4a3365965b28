// Formatted traces with a class label, for the few sites that have no signature to show.
//
//   Pith::fmtrace(facility, 8, "Handle", "Active work handles {}", count);
//
// Both the levelled trace and the flight recorder receive the text "Active work handles 3" with the
// function "Handle". Each "{}" is replaced by the next value; that there are as many is checked at
// compile time, and any other brace is literal. A value is a bool ("true", "false"), an integer, a
// character, a text or a type that offers `appendTo(std::string&)`.
//
// A disabled level costs one load and one comparison once the values are evaluated. An enabled one
// formats the text, once: where that is too dear, the macros of framework/Twinlog/Twinlog.h hand
// raw values to the recorder.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>

#include "framework/Pith/Export.h"
#include "framework/Pith/TraceFacility.h"

namespace Pith {
namespace Impl {

template <class T>
concept AppendsText = requires(const T& value, std::string& out) {
  value.appendTo(out);
};

// A value for a "{}", whatever its type: where it is and how it is appended.
class FmtraceValue {
 public:
  template <class T>
  explicit FmtraceValue(const T& value) noexcept : value_(&value), append_(&append<T>) {}

  void appendTo(std::string& out) const { append_(out, value_); }

 private:
  template <class T>
  static void append(std::string& out, const void* at) {
    const T& value = *static_cast<const T*>(at);
    if constexpr (std::is_same_v<T, bool>) {
      out.append(value ? "true" : "false");
    } else if constexpr (std::is_same_v<T, char>) {
      out.push_back(value);
    } else if constexpr (std::is_integral_v<T>) {
      out.append(std::to_string(value));
    } else if constexpr (AppendsText<T>) {
      value.appendTo(out);
    } else {
      static_assert(std::is_convertible_v<const T&, std::string_view>,
                    "a value of fmtrace has appendTo(std::string&)");
      out.append(std::string_view(value));
    }
  }

  const void* value_;
  void (*append_)(std::string& out, const void* at);
};

// A literal with one "{}" for each value.
template <class... Values>
class FmtraceText {
 public:
  template <std::size_t size>
  consteval FmtraceText(const char (&text)[size])  // NOLINT(google-explicit-constructor)
      : text_(text, size - 1) {
    std::size_t count = 0;
    for (std::size_t at = text_.find("{}"); at != std::string_view::npos;
         at = text_.find("{}", at + 2)) {
      ++count;
    }
    if (count != sizeof...(Values)) throw "there are not as many values as {}";
  }
  constexpr std::string_view view() const noexcept { return text_; }

 private:
  std::string_view text_;
};

PITH_EXPORT void fmtraceWrite(const TraceFacility& facility, int level, std::string_view label,
                              std::string_view text, std::initializer_list<FmtraceValue> values);

}  // namespace Impl

template <class... Values>
void fmtrace(TraceFacility& facility, int level, std::string_view label,
             Impl::FmtraceText<std::type_identity_t<Values>...> text, const Values&... values) {
  if (facility.enabled(level)) {
    Impl::fmtraceWrite(facility, level, label, text.view(), {Impl::FmtraceValue(values)...});
  }
}

}  // namespace Pith
