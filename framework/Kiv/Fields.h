// Names the fields of a plain struct, so that the framework can walk them.
//
//   struct ServiceRule {
//     Pith::String service;
//     Action action{};
//     KIV_FIELDS(service, action)
//     bool operator==(const ServiceRule&) const = default;
//   };
//
// From this follow the struct's text form, its entry in the type tables and, for the attributes of
// a reactor, the comparison that finds out which reference differs.
#pragma once

#include <cstddef>
#include <type_traits>

#define KIV_PARENS ()
#define KIV_EXPAND(...) KIV_EXPAND3(KIV_EXPAND3(KIV_EXPAND3(__VA_ARGS__)))
#define KIV_EXPAND3(...) KIV_EXPAND2(KIV_EXPAND2(KIV_EXPAND2(__VA_ARGS__)))
#define KIV_EXPAND2(...) KIV_EXPAND1(KIV_EXPAND1(KIV_EXPAND1(__VA_ARGS__)))
#define KIV_EXPAND1(...) __VA_ARGS__
#define KIV_FOR_EACH(macro, ...) __VA_OPT__(KIV_EXPAND(KIV_FOR_EACH_STEP(macro, __VA_ARGS__)))
#define KIV_FOR_EACH_STEP(macro, first, ...) \
  macro(first) __VA_OPT__(KIV_FOR_EACH_AGAIN KIV_PARENS(macro, __VA_ARGS__))
#define KIV_FOR_EACH_AGAIN() KIV_FOR_EACH_STEP

#define KIV_FIELD_NAME(field) #field,
#define KIV_FIELD_VISIT(field) kivVisit(#field, kivSelf.field);
#define KIV_FIELD_TYPE(field) kivVisit(#field, std::type_identity<decltype(field)>());
#define KIV_FIELD_LISTED(field) , decltype(field)

// A struct of a source file alone may leave the names unused.
#define KIV_FIELDS(...)                                                    \
  [[maybe_unused]] static constexpr const char* fieldNames[] = {           \
      KIV_FOR_EACH(KIV_FIELD_NAME, __VA_ARGS__)};                          \
  template <class KivSelf, class KivVisit>                                 \
  static constexpr void eachField(KivSelf& kivSelf, KivVisit&& kivVisit) { \
    KIV_FOR_EACH(KIV_FIELD_VISIT, __VA_ARGS__)                             \
  }                                                                        \
  template <class KivVisit>                                                \
  static constexpr void eachFieldType(KivVisit&& kivVisit) {               \
    KIV_FOR_EACH(KIV_FIELD_TYPE, __VA_ARGS__)                              \
  }                                                                        \
  using FieldTypes = ::Kiv::FieldTypes<void KIV_FOR_EACH(KIV_FIELD_LISTED, __VA_ARGS__)>;

namespace Kiv {

// The types of the fields, in order, behind void.
template <class... Types>
struct FieldTypes {};

namespace Impl {
struct AnyVisit {
  template <class T>
  void operator()(const char* name, T& field) const;
};
}  // namespace Impl

// A struct whose fields are named by KIV_FIELDS.
template <class T>
concept HasFields = requires(T& object, const Impl::AnyVisit& visit) {
  T::eachField(object, visit);
};

}  // namespace Kiv
