// Texts of values of any type that the type tables describe, for tests that go over all of them.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "framework/Kiv/Entity.h"
#include "framework/Kiv/TypeData.h"
#include "framework/Pith/Ptr.h"

namespace TestSupport {

class Samples {
 public:
  static constexpr std::size_t count = 4;  // of each value; fewer where the type has fewer

  // Makes the objects that references are to refer to, by the name of their type.
  using MakeReferred = std::function<Pith::Ptr<Kiv::Entity>(std::string_view typeName)>;
  explicit Samples(MakeReferred makeReferred) : makeReferred_(std::move(makeReferred)) {}

  // Different values of the type, as they print themselves. The first is not the default.
  std::vector<std::string> of(const Kiv::ValueData& value);
  // A text that no value of the type has; empty where every text is one.
  static std::string malformed(const Kiv::ValueData& value);

 private:
  std::vector<std::string> recordsOf(const Kiv::ValueData& record);

  MakeReferred makeReferred_;
  std::vector<Pith::Ptr<Kiv::Entity>> referred_;
};

}  // namespace TestSupport
