// Values as text, and back.
//
//   std::string text = Kiv::valueToStrep(rule);                      // "service=web,action=drop"
//   auto range = Kiv::strepToValue<Firewall::PortRange>("80-443");   // or a RangeException
//
// What has a text form: bool, integers, enumerations with names, optional values (absent is the
// empty text), strings, structs with KIV_FIELDS ("field=value,field=value"; a value that holds one
// of , = " \ is written in double quotes with \ before " and \; a field that is left out has its
// default), references to store objects (Object.h), and every type of its own that offers
// `appendTo(std::string&)` and either `static T parse(std::string_view)` or a constructor
// `T(Kiv::CharRange&)`.
//
// An enumeration names its values, from 0 up, in a function found beside it:
//   constexpr std::array<std::string_view, 2> enumNames(Action) { return {"deny", "permit"}; }
// A value without a name is shown as its number, and no text makes one.
#pragma once

#include <array>
#include <charconv>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

#include "framework/Kiv/CharRange.h"
#include "framework/Kiv/Errors.h"
#include "framework/Kiv/Fields.h"
#include "framework/Pith/Export.h"
#include "framework/Pith/Ptr.h"

namespace Kiv {

class Object;

template <class T>
concept NamedEnum = std::is_enum_v<T> && requires(T value) {
  enumNames(value).size();
};

namespace Impl {

template <class T>
inline constexpr bool isOptional = false;
template <class T>
inline constexpr bool isOptional<std::optional<T>> = true;

template <class T>
inline constexpr bool isReference = false;
template <class T>
inline constexpr bool isReference<Pith::Ptr<T>> = true;

// References: see Object.h.
PITH_EXPORT void appendReference(std::string& out, const Object* object);
PITH_EXPORT Object* referenceFromText(std::string_view text);

[[noreturn]] PITH_EXPORT void throwBadText(std::string_view what, std::string_view text,
                                           std::string_view wanted);
PITH_EXPORT void appendQuoted(std::string& out, std::string_view text);

// Takes "name=value" and the comma behind it from `text`; the value without its quotes.
struct FieldText {
  std::string_view name;
  std::string value;
};
PITH_EXPORT FieldText takeField(std::string_view& text);

}  // namespace Impl

template <class T>
void appendText(std::string& out, const T& value) {
  if constexpr (std::is_same_v<T, bool>) {
    out.append(value ? "true" : "false");
  } else if constexpr (NamedEnum<T>) {
    const auto names = enumNames(value);
    const auto index = static_cast<std::size_t>(value);
    if (index < names.size()) {
      out.append(names[index]);
    } else {
      appendText(out, index);
    }
  } else if constexpr (std::is_integral_v<T>) {
    char digits[std::numeric_limits<T>::digits10 + 3];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), value).ptr;
    out.append(std::begin(digits), end);
  } else if constexpr (Impl::isOptional<T>) {
    if (value) appendText(out, *value);
  } else if constexpr (Impl::isReference<T>) {
    Impl::appendReference(out, value.get());
  } else if constexpr (requires { value.appendTo(out); }) {
    value.appendTo(out);
  } else {
    static_assert(HasFields<const T>, "a type with a text form has appendTo() or KIV_FIELDS");
    bool first = true;
    T::eachField(value, [&](const char* name, const auto& field) {
      if (!first) out.push_back(',');
      first = false;
      out.append(name).push_back('=');
      std::string text;
      appendText(text, field);
      Impl::appendQuoted(out, text);
    });
  }
}

template <class T>
std::string valueToStrep(const T& value) {
  std::string text;
  appendText(text, value);
  return text;
}

// Reads a T from the whole of `text`. RangeException, with the text and what would be right, when
// it is not the text of one.
template <class T>
T strepToValue(std::string_view text);

// Reads a T from `range` and takes what was read. A type without a constructor from CharRange takes
// all.
template <class T>
T strepToValue(CharRange& range) {
  if constexpr (std::is_constructible_v<T, CharRange&> &&
                !std::is_constructible_v<T, std::string_view>) {
    return T(range);
  } else {
    T value = strepToValue<T>(range.view());
    range.takeAll();
    return value;
  }
}

template <class T>
T strepToValue(std::string_view text) {
  if constexpr (std::is_same_v<T, bool>) {
    if (text == "true") return true;
    if (text == "false") return false;
    Impl::throwBadText("bool", text, "true or false");
  } else if constexpr (NamedEnum<T>) {
    std::string wanted;
    std::size_t index = 0;
    for (const std::string_view name : enumNames(T{})) {
      if (text == name) return static_cast<T>(index);
      wanted.append(index == 0 ? "" : ", ").append(name);
      ++index;
    }
    Impl::throwBadText("enumerator", text, "one of " + wanted);
  } else if constexpr (std::is_integral_v<T>) {
    T value{};
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error == std::errc() && stop == end && !text.empty()) return value;
    Impl::throwBadText("number", text,
                       std::to_string(std::numeric_limits<T>::min()) + " to " +
                           std::to_string(std::numeric_limits<T>::max()));
  } else if constexpr (Impl::isOptional<T>) {
    if (text.empty()) return std::nullopt;
    return strepToValue<typename T::value_type>(text);
  } else if constexpr (Impl::isReference<T>) {
    Object* const object = Impl::referenceFromText(text);
    auto* const typed = dynamic_cast<typename T::Pointee*>(object);
    if (object != nullptr && typed == nullptr) {
      Impl::throwBadText("reference", text, "a reference to an object of the attribute's type");
    }
    return T(typed);
  } else if constexpr (requires {
                         { T::parse(text) } -> std::same_as<T>;
                       }) {
    return T::parse(text);
  } else if constexpr (HasFields<T>) {
    T value{};
    std::array<bool, std::size(T::fieldNames)> seen{};
    while (!text.empty()) {
      const Impl::FieldText given = Impl::takeField(text);
      std::size_t at = 0;
      bool known = false;
      T::eachField(value, [&](const char* name, auto& field) {
        bool& seenAlready = seen[at++];
        if (given.name != name || seenAlready) return;
        field = strepToValue<std::remove_cvref_t<decltype(field)>>(given.value);
        seenAlready = true;
        known = true;
      });
      if (!known) Impl::throwBadText("field", given.name, "each field of the value at most once");
    }
    return value;
  } else if constexpr (std::is_constructible_v<T, std::string_view>) {
    return T(text);
  } else {
    CharRange range(text);
    T value(range);
    if (!range.empty()) Impl::throwBadText("value", text, "nothing behind the value");
    return value;
  }
}

}  // namespace Kiv
