// Every reference that a child was created with is compared when the child is asked for again.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <iterator>
#include <set>
#include <string>
#include <type_traits>

#include "framework/Kiv/Errors.h"
#include "framework/Kiv/Reactor.h"

namespace TestSupport {

// Asks for the child again, ask(attributes), once for each of its references with that one made
// null, and expects the error to name it. `notAsked` are the attributes that are no argument of the
// creation.
template <class Attributes, class Ask>
void expectEachReferenceChecked(const std::string& type, const Attributes& have, const Ask& ask,
                                const std::set<std::string>& notAsked = {}) {
  EXPECT_NO_THROW(ask(have));
  for (std::size_t index = 0; index < std::size(Attributes::fieldNames); ++index) {
    const std::string name = Attributes::fieldNames[index];
    Attributes changed = have;
    bool differs = false;
    std::size_t at = 0;
    Attributes::eachField(changed, [&](const char*, auto& field) {
      using Field = std::remove_cvref_t<decltype(field)>;
      if (at++ != index || Kiv::Impl::referenceOf(field) == nullptr) return;
      field = Field();
      differs = true;
    });
    if (!differs || notAsked.contains(name)) continue;
    try {
      ask(changed);
      ADD_FAILURE() << type << "::" << name << " is not compared";
    } catch (const Kiv::ReinstantiationError& error) {
      EXPECT_EQ(std::string(error.what()).find(type + "::" + name + " "), 0U) << error.what();
    }
  }
}

}  // namespace TestSupport
