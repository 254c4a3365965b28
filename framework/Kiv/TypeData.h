// Type tables: what an object consists of, at run time.
//
// Every store object and every reactor has a TypeData: its name and its attributes. It is made from
// the attributes' declarations, nothing is written twice. The Inspector, the host agent's documents
// and the tests read and write objects through it, by name and text.
//
//   for (const Kiv::AttributeData& attribute : object.typeData().attributes) ...
//
// Writing by text goes through the attribute's own mutator: it notifies like any other write. A
// malformed text raises Pith::RangeException before anything has changed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "framework/Kiv/Text.h"
#include "framework/Kiv/TypeName.h"
#include "framework/Pith/Export.h"
#include "framework/Pith/FieldId.h"

namespace Kiv {

class Object;
struct TypeData;

// What a key or a value is, and which texts it takes.
struct ValueData {
  enum class Kind : std::uint8_t { boolean, integer, enumeration, text, record, reference };
  struct Field {
    std::string_view name;
    const ValueData* value;
  };

  std::string_view typeName;  // integers: "U8" to "S64"
  Kind kind;
  bool optional;
  std::int64_t min;                     // integers
  std::uint64_t max;                    // integers
  std::vector<std::string_view> names;  // enumerators, from 0 up
  std::vector<Field> fields;            // records
  // The text of a key or value that a notification points to.
  std::string (*text)(const void* value);
};

enum class AttributeKind : std::uint8_t {
  value,       // one value
  reference,   // a reference to another object, which it does not own
  set,         // a collection of values
  collection,  // values under keys
  child,       // an object of its own, or none
  children,    // objects of its own under keys
};

struct AttributeData {
  // Called for each entry with its key and value as text; a value has no key, and a child is given
  // as itself.
  using Visit =
      std::function<void(std::string_view key, std::string_view value, const Object* child)>;

  std::string_view name;
  Pith::FieldId field;
  AttributeKind kind;
  bool ordered;                    // by key; otherwise by insertion
  const ValueData* key;            // null: has no key
  const ValueData* value;          // null: has no value
  const TypeData& (*childType)();  // null: has no child, or children of any type

  std::size_t (*count)(const Object& object);
  void (*each)(const Object& object, const Visit& visit);
  // The value as text; none when there is no such entry.
  std::optional<std::string> (*read)(const Object& object, std::string_view key);
  // The child, or null when there is none.
  Object* (*child)(Object& object, std::string_view key);
  // Null where the attribute is not written from outside.
  void (*write)(Object& object, std::string_view key, std::string_view value);
  void (*erase)(Object& object, std::string_view key);
  void (*eraseAll)(Object& object);
  // Lets go of the references that the attribute holds, without telling anyone; null when it holds
  // none.
  void (*cutLinks)(Object& object);
};

struct TypeData {
  std::string_view name;
  std::size_t bytes;                      // of one object, without what it points to
  std::vector<AttributeData> attributes;  // those of the base type first
  // The object's key in its owner's collection, as text; null for a type without key.
  std::string (*key)(const Object& object) = nullptr;

  const AttributeData* attribute(std::string_view attributeName) const noexcept {
    for (const AttributeData& data : attributes) {
      if (data.name == attributeName) return &data;
    }
    return nullptr;
  }
};

namespace Impl {

// The same with every compiler.
template <class T>
inline constexpr std::string_view integerName = sizeof(T) == 1 ? (std::is_signed_v<T> ? "S8" : "U8")
                                                : sizeof(T) == 2
                                                    ? (std::is_signed_v<T> ? "S16" : "U16")
                                                : sizeof(T) == 4
                                                    ? (std::is_signed_v<T> ? "S32" : "U32")
                                                    : (std::is_signed_v<T> ? "S64" : "U64");

}  // namespace Impl

// The description of T as a key or a value.
template <class T>
PITH_EXPORT const ValueData& valueDataOf() {
  static const ValueData data = [] {
    using Kind = ValueData::Kind;
    if constexpr (Impl::isOptional<T>) {
      ValueData inner = valueDataOf<typename T::value_type>();
      inner.optional = true;
      inner.text = [](const void* value) { return valueToStrep(*static_cast<const T*>(value)); };
      return inner;
    } else {
      ValueData result{typeNameOf<T>(), Kind::text, false, 0, 0, {}, {}, nullptr};
      result.text = [](const void* value) { return valueToStrep(*static_cast<const T*>(value)); };
      if constexpr (std::is_same_v<T, bool>) {
        result.kind = Kind::boolean;
      } else if constexpr (NamedEnum<T>) {
        result.kind = Kind::enumeration;
        for (const std::string_view name : enumNames(T{})) result.names.push_back(name);
      } else if constexpr (std::is_integral_v<T>) {
        result.typeName = Impl::integerName<T>;
        result.kind = Kind::integer;
        result.min = static_cast<std::int64_t>(std::numeric_limits<T>::min());
        result.max = static_cast<std::uint64_t>(std::numeric_limits<T>::max());
      } else if constexpr (Impl::isReference<T>) {
        result.kind = Kind::reference;
      } else if constexpr (HasFields<T> &&
                           !requires(const T& value, std::string& out) { value.appendTo(out); }) {
        result.kind = Kind::record;
        T::eachFieldType([&result]<class Field>(const char* name, std::type_identity<Field>) {
          result.fields.push_back({name, &valueDataOf<Field>()});
        });
      }
      return result;
    }
  }();
  return data;
}

}  // namespace Kiv
