// The errors that the store and the reactors raise, beside Pith::RangeException.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "framework/Kiv/CharRange.h"
#include "framework/Pith/Export.h"
#include "framework/Pith/RangeException.h"

namespace Kiv {

// A keyed child was asked for again, with a reference that differs from the one it was created
// with.
class PITH_EXPORT ReinstantiationError : public std::logic_error {
 public:
  explicit ReinstantiationError(const std::string& text) : std::logic_error(text) {}
  ReinstantiationError(const ReinstantiationError&) = default;
  ReinstantiationError& operator=(const ReinstantiationError&) = default;
  ~ReinstantiationError() override;
};

// A text does not hold a value of the attribute that was to be read from it.
class PITH_EXPORT DeserializationError : public Pith::RangeException {
 public:
  explicit DeserializationError(const std::string& text) : RangeException(text) {}
  DeserializationError(const DeserializationError&) = default;
  DeserializationError& operator=(const DeserializationError&) = default;
  ~DeserializationError() override;
};

namespace Impl {

// Raises ReinstantiationError: "type::attribute differs from the one the object was created with:
// delete the object first".
[[noreturn]] PITH_EXPORT void throwMutatorReinstantiating(std::string_view type,
                                                          std::string_view attribute);

// Raises DeserializationError, naming the attribute and what was wrong with its text.
[[noreturn]] PITH_EXPORT void throwDeserializing(std::string_view attribute, std::string_view why);

}  // namespace Impl

}  // namespace Kiv
