// The error that every value type raises when it is given something it cannot hold.
//
//   Pith::RangeException::throwException("Bridging::VlanId::value < 1 or > 4094");
//
// raises an exception whose what() is "Bridging::VlanId::value < 1 or > 4094 not allowed". The text
// names the type, the field and the condition that was violated. It is always raised before
// anything has changed.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "framework/Pith/Export.h"

namespace Pith {

class PITH_EXPORT RangeException : public std::runtime_error {
 public:
  explicit RangeException(const std::string& text) : std::runtime_error(text) {}
  RangeException(const RangeException&) = default;
  RangeException& operator=(const RangeException&) = default;
  ~RangeException() override;

  // Raises RangeException with `condition` followed by " not allowed".
  [[noreturn]] static void throwException(std::string_view condition);
};

}  // namespace Pith
