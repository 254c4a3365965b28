// Makes the type table of a class from its attributes' declarations (Entity.h) at first use.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "framework/Kiv/Attribute.h"
#include "framework/Kiv/Text.h"
#include "framework/Kiv/TypeData.h"
#include "framework/Kiv/detail/Numbering.h"

namespace Kiv::Impl {

template <class T>
inline constexpr bool isValueAttribute = false;
template <class T>
inline constexpr bool isValueAttribute<ValueAttribute<T>> = true;
template <class T>
inline constexpr bool isSetAttribute = false;
template <class Map>
inline constexpr bool isSetAttribute<SetAttribute<Map>> = true;
template <class T>
inline constexpr bool isMapAttribute = false;
template <class Map>
inline constexpr bool isMapAttribute<MapAttribute<Map>> = true;

// Access is the macro's class for one attribute: Class, declared(), writable, and where it is,
// set(), erase() and eraseAll().
template <class Access>
struct Operations {
  using Class = typename Access::Class;
  static constexpr auto declared = Access::declared();

  // What a text says that is meant for this attribute.
  template <class T>
  static T fromText(std::string_view text) {
    try {
      return strepToValue<T>(text);
    } catch (const Pith::RangeException& error) {
      throwDeserializing(declared.name, error.what());
    }
  }

  using Attribute = std::remove_cvref_t<decltype(std::declval<Class&>().*(declared.member))>;

  static const Attribute& of(const Object& object) {
    return static_cast<const Class&>(object).*(declared.member);
  }

  // Each kind fills in what it can do.
  static void describeValue(AttributeData& data) {
    using Value = typename Attribute::Value;
    data.kind = isReference<Value> ? AttributeKind::reference : AttributeKind::value;
    data.value = &valueDataOf<Value>();
    data.count = [](const Object&) -> std::size_t { return 1; };
    data.each = [](const Object& object, const AttributeData::Visit& visit) {
      visit({}, valueToStrep(of(object).get()), nullptr);
    };
    data.read = [](const Object& object, std::string_view) {
      return std::optional(valueToStrep(of(object).get()));
    };
    data.write = [](Object& object, std::string_view, std::string_view value) {
      Access::set(static_cast<Class&>(object), fromText<Value>(value));
    };
  }

  static void describeSet(AttributeData& data) {
    using Key = typename Attribute::Key;
    data.kind = AttributeKind::set;
    data.key = &valueDataOf<Key>();
    data.each = [](const Object& object, const AttributeData::Visit& visit) {
      for (const auto& key : of(object).map()) visit(valueToStrep(key), {}, nullptr);
    };
    data.read = [](const Object& object, std::string_view key) {
      return of(object).map().has(fromText<Key>(key)) ? std::optional<std::string>("")
                                                      : std::nullopt;
    };
    data.write = [](Object& object, std::string_view key, std::string_view) {
      Access::set(static_cast<Class&>(object), fromText<Key>(key));
    };
  }

  static void describeMap(AttributeData& data) {
    using Key = typename Attribute::Key;
    using Value = typename Attribute::Value;
    data.kind = AttributeKind::collection;
    data.key = &valueDataOf<Key>();
    data.value = &valueDataOf<Value>();
    data.each = [](const Object& object, const AttributeData::Visit& visit) {
      for (const auto& entry : of(object).map()) {
        visit(valueToStrep(entry.key), valueToStrep(entry.value), nullptr);
      }
    };
    data.read = [](const Object& object, std::string_view key) -> std::optional<std::string> {
      const Value* const value = of(object).find(fromText<Key>(key));
      if (value == nullptr) return std::nullopt;
      return valueToStrep(*value);
    };
    data.write = [](Object& object, std::string_view key, std::string_view value) {
      Access::set(static_cast<Class&>(object), fromText<Key>(key), fromText<Value>(value));
    };
  }

  static void describeChildren(AttributeData& data) {
    using Key = typename Attribute::Key;
    using Map = std::remove_cvref_t<decltype(std::declval<Attribute>().map())>;
    data.kind = AttributeKind::children;
    data.key = &valueDataOf<Key>();
    data.childType = &Attribute::Child::staticTypeData;
    data.each = [](const Object& object, const AttributeData::Visit& visit) {
      for (const auto& child : of(object).map())
        visit(valueToStrep(MapTraits<Map>::Funktor::key(child)), {}, child.get());
    };
    data.child = [](Object& object, std::string_view key) -> Object* {
      return of(object).find(fromText<Key>(key)).get();
    };
    if constexpr (Access::writable) {
      data.write = [](Object& object, std::string_view key, std::string_view) {
        Access::set(static_cast<Class&>(object), fromText<Key>(key));
      };
    }
  }

  static void describeChild(AttributeData& data) {
    data.kind = AttributeKind::child;
    if constexpr (requires { Attribute::Child::staticTypeData(); }) {
      data.childType = &Attribute::Child::staticTypeData;
    }
    data.count = [](const Object& object) -> std::size_t { return of(object).get() ? 1 : 0; };
    data.each = [](const Object& object, const AttributeData::Visit& visit) {
      const auto& child = of(object).get();
      if (!child) return;
      if constexpr (Access::writable) {
        visit({}, valueToStrep(child->key()), child.get());
      } else {
        visit({}, {}, child.get());
      }
    };
    data.child = [](Object& object, std::string_view) -> Object* { return of(object).get().get(); };
    if constexpr (Access::writable) {
      using Key = typename Attribute::Child::Key;
      data.value = &valueDataOf<Key>();
      data.read = [](const Object& object, std::string_view) -> std::optional<std::string> {
        const auto& child = of(object).get();
        if (!child) return std::nullopt;
        return valueToStrep(child->key());
      };
      data.write = [](Object& object, std::string_view, std::string_view value) {
        Access::set(static_cast<Class&>(object), fromText<Key>(value));
      };
      data.erase = [](Object& object, std::string_view) {
        Access::erase(static_cast<Class&>(object));
      };
      data.eraseAll = [](Object& object) { Access::erase(static_cast<Class&>(object)); };
    }
  }

  static AttributeData describe() {
    AttributeData data{};
    data.name = declared.name;
    data.field = declared.field;
    if constexpr (Access::writable && requires { Attribute::holdsLinks(); }) {
      if (Attribute::holdsLinks()) {
        data.cutLinks = [](Object& object) {
          (static_cast<Class&>(object).*(declared.member)).cutLinks();
        };
      }
    }
    if constexpr (isValueAttribute<Attribute>) {
      describeValue(data);
    } else if constexpr (requires(const Attribute& attribute) { attribute.get(); }) {
      describeChild(data);
    } else {
      using Key = typename Attribute::Key;
      data.ordered =
          MapTraits<std::remove_cvref_t<decltype(std::declval<Attribute>().map())>>::ordered;
      data.count = [](const Object& object) { return of(object).map().size(); };
      if constexpr (Access::writable) {
        data.erase = [](Object& object, std::string_view key) {
          Access::erase(static_cast<Class&>(object), fromText<Key>(key));
        };
        data.eraseAll = [](Object& object) { Access::eraseAll(static_cast<Class&>(object)); };
      }
      if constexpr (isSetAttribute<Attribute>) {
        describeSet(data);
      } else if constexpr (isMapAttribute<Attribute>) {
        describeMap(data);
      } else {
        describeChildren(data);
      }
    }
    return data;
  }
};

struct TypeBuilder {
  template <class Class>
  static void describeDeclared(TypeData& data) {
    constexpr int count = decltype(Class::kivAttribute(HighestRank()))::number;
    [&data]<int... before>(std::integer_sequence<int, before...>) {
      (data.attributes.push_back(Operations<typename decltype(Class::kivAttribute(
                                     Rank<before + 1>()))::Access>::describe()),
       ...);
    }
    (std::make_integer_sequence<int, count>());
  }

  template <class Class>
  static TypeData build() {
    TypeData data{typeNameOf<Class>(), sizeof(Class), {}};
    if constexpr (requires { Class::KivBase::staticTypeData(); }) {
      data.attributes = Class::KivBase::staticTypeData().attributes;
    }
    describeDeclared<Class>(data);
    if constexpr (requires(const Class& object) { object.key(); }) {
      data.key = [](const Object& object) {
        return valueToStrep(static_cast<const Class&>(object).key());
      };
    }
    return data;
  }

  // Reactors: the constructor attributes, which are read only, before the children.
  template <class Class>
  static TypeData buildReactor() {
    TypeData data{typeNameOf<Class>(), sizeof(Class), {}};
    [&data]<std::size_t... index>(std::index_sequence<index...>) {
      (data.attributes.push_back(describeField<Class, index>()), ...);
    }
    (std::make_index_sequence<std::size(Class::Attributes::fieldNames)>());
    describeDeclared<Class>(data);
    return data;
  }

  template <class Class, std::size_t index>
  static AttributeData describeField() {
    AttributeData data{};
    data.name = Class::Attributes::fieldNames[index];
    std::size_t at = 0;
    Class::Attributes::eachFieldType([&]<class Field>(const char*, std::type_identity<Field>) {
      if (at++ != index) return;
      using Reference = Pith::Ptr<std::remove_pointer_t<Field>>;
      using Value = std::conditional_t<std::is_pointer_v<Field>, Reference, Field>;
      data.kind = isReference<Value> ? AttributeKind::reference : AttributeKind::value;
      data.value = &valueDataOf<Value>();
    });
    data.count = [](const Object&) -> std::size_t { return 1; };
    data.each = [](const Object& object, const AttributeData::Visit& visit) {
      visit({}, fieldText<Class, index>(object), nullptr);
    };
    data.read = [](const Object& object, std::string_view) {
      return std::optional(fieldText<Class, index>(object));
    };
    return data;
  }

  template <class Class, std::size_t index>
  static std::string fieldText(const Object& object) {
    std::string text;
    std::size_t at = 0;
    const auto& attributes = static_cast<const Class&>(object).attributes();
    Class::Attributes::eachField(attributes, [&](const char*, const auto& field) {
      if (at++ != index) return;
      if constexpr (std::is_pointer_v<std::remove_cvref_t<decltype(field)>>) {
        appendReference(text, field);
      } else {
        appendText(text, field);
      }
    });
    return text;
  }
};

}  // namespace Kiv::Impl
