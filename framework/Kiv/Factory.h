// A factory of a reactor, derived from its attributes: called with them in order, or with their
// names.
//
//   KIV_FACTORY(VrfSm, vrfSmFactory)             // in the header, behind the class
//   KIV_FACTORY_DEFINE(VrfSm, vrfSmFactory)      // in a .cpp, in the same namespace
//
//   auto child = vrfSmFactory("red", inFirewall);
//   auto child = vrfSmFactory({.vrfName = "red", .inFirewall = inFirewall});
#pragma once

#include <utility>

#include "framework/Kiv/Fields.h"
#include "framework/Pith/Export.h"
#include "framework/Pith/Ptr.h"

namespace Kiv {

template <class Reactor, class Fields = typename Reactor::Attributes::FieldTypes>
class Factory;

template <class Reactor, class... Fields>
class Factory<Reactor, FieldTypes<void, Fields...>> {
 public:
  using Attributes = typename Reactor::Attributes;

  // Raises what the start of the reactor raises; there is none then.
  Pith::Ptr<Reactor> operator()(Attributes attributes) const {
    return Reactor::made(std::move(attributes));
  }
  Pith::Ptr<Reactor> operator()(Fields... fields) const {
    return Reactor::made(Attributes{std::move(fields)...});
  }
};

}  // namespace Kiv

#define KIV_FACTORY(Reactor_, name_) \
  extern PITH_EXPORT const ::Kiv::Factory<Reactor_> name_; /* NOLINT */
#define KIV_FACTORY_DEFINE(Reactor_, name_) constinit const ::Kiv::Factory<Reactor_> name_;
