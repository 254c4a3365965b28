// How a value becomes the text that a trace shows.
//
//   Kiv::TraceStream text;
//   text << " intf: " << intf << " enabled: " << enabled;     // text.view()
//
// A bool is "true" or "false", an integer a decimal number (the 8-bit ones too), a char itself.
// Texts are taken as they are, without quotes; a null `const char*` is "(null)". Then, whichever a
// type has: `appendTo(std::string&)`, the operator<< of std::ostream, or any text form of
// Kiv/Text.h (named enumerations, optional values, structs with KIV_FIELDS). A reference or pointer
// shows what it refers to by its appendTo(), else by its name(), else by its address; a null one is
// "null".
//
// Nothing is flushed and there are no manipulators. Only operator<< of std::ostream is slow: it
// makes a stream for each value.
#pragma once

#include <concepts>
#include <cstdint>
#include <optional>
#include <ostream>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>

#include "framework/Kiv/Text.h"
#include "framework/Pith/Export.h"
#include "framework/Pith/String.h"

namespace Kiv {

namespace Impl {
template <class T>
inline constexpr bool refers = std::is_pointer_v<T> || isReference<T>;
template <class T>
concept RefersToText = requires(const T& reference, std::string& out) {
  reference->appendTo(out);
};
}  // namespace Impl

// References and pointers that are shown by the name of what they refer to.
template <class T>
concept ShownByName = Impl::refers<T> && !Impl::RefersToText<T> && requires(const T& reference) {
  { reference->name() } -> std::convertible_to<Pith::String>;
};

class PITH_EXPORT TraceStream {
 public:
  template <class T>
  TraceStream& operator<<(const T& value) {
    append(value);
    return *this;
  }

  std::string_view view() const noexcept { return text_; }
  void clear() noexcept { text_.clear(); }

 private:
  template <class T>
  void append(const T& value) {
    if constexpr (std::is_same_v<T, char>) {
      text_.push_back(value);
    } else if constexpr (std::is_convertible_v<const T&, const char*>) {
      appendCharacters(value);
    } else if constexpr (std::is_convertible_v<const T&, std::string_view>) {
      text_.append(std::string_view(value));
    } else if constexpr (std::is_integral_v<T> || NamedEnum<T>) {
      appendText(text_, value);
    } else if constexpr (Impl::isOptional<T>) {
      if (value) append(*value);
    } else if constexpr (Impl::refers<T>) {
      appendReferred(value);
    } else if constexpr (requires { value.appendTo(text_); }) {
      value.appendTo(text_);
    } else if constexpr (requires(std::ostream & out) { out << value; }) {
      std::ostringstream out;
      out << value;
      text_.append(out.view());
    } else {
      appendText(text_, value);
    }
  }

  template <class T>
  void appendReferred(const T& reference) {
    if (!reference) {
      text_.append("null");
    } else if constexpr (requires { reference->appendTo(text_); }) {
      reference->appendTo(text_);
    } else if constexpr (requires { append(reference->name()); }) {
      append(reference->name());
    } else {
      appendAddress(static_cast<const void*>(&*reference));
    }
  }

  void appendCharacters(const char* text);
  void appendAddress(const void* address);

  std::string text_;
};

}  // namespace Kiv
