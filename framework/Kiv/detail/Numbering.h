// Numbers the attributes of a type, from 1 up, in the order of their declaration.
//
// A class cannot count at compile time, but it can overload: each declaration adds a kivAttribute()
// that takes the next rank, and the next declaration asks which one a call finds. A higher rank
// converts to every lower one, and the nearest is the best match, so that the call finds the
// overload declared last. Nothing but the order matters: no line, comment or compiler.
#pragma once

#include <string_view>

#include "framework/Pith/FieldId.h"

namespace Kiv::Impl {

// The most attributes that one class may declare. Each class between Entity and a type has as many
// identifiers of its own: an attribute added to a base leaves those of its derived types alone.
inline constexpr int attributesOfClass = 64;

template <int n>
struct Rank : Rank<n - 1> {};
template <>
struct Rank<0> {};
using HighestRank = Rank<attributesOfClass + 1>;

// What kivAttribute() returns: the number of the declaration, and its class.
template <int number_, class Access_>
struct Numbered {
  static constexpr int number = number_;
  using Access = Access_;
};

// What a declaration tells: made by the macros, read by TypeBuilder.
template <class Class, class Attribute>
struct Declared {
  std::string_view name;
  Pith::FieldId field;
  Attribute Class::*member;
};

}  // namespace Kiv::Impl

// Begins the declarations of a class, and hides those of its base.
#define KIV_IMPL_NUMBER_FIRST(Class_) \
  using KivClass = Class_;            \
  static ::Kiv::Impl::Numbered<0, void> kivAttribute(::Kiv::Impl::Rank<0>);

// Gives `name_` its number, and makes name_##Access the class that tells of it.
#define KIV_IMPL_NUMBER(name_)                                                           \
  struct name_##Access;                                                                  \
  static constexpr int name_##Number =                                                   \
      decltype(kivAttribute(::Kiv::Impl::HighestRank()))::number + 1;                    \
  static_assert(name_##Number <= ::Kiv::Impl::attributesOfClass, "too many attributes"); \
  static ::Kiv::Impl::Numbered<name_##Number, name_##Access> kivAttribute(               \
      ::Kiv::Impl::Rank<name_##Number>);
