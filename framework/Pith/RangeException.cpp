#include "framework/Pith/RangeException.h"

namespace Pith {

RangeException::~RangeException() = default;

void RangeException::throwException(std::string_view condition) {
  throw RangeException(std::string(condition) + " not allowed");
}

}  // namespace Pith
