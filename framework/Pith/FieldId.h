// Identifies an attribute within its type: attributes are numbered in the order of their
// declaration, those of a base type first. The constants are made with the attribute
// (`Config::enabledField`).
#pragma once

#include <cstdint>

namespace Pith {

using FieldId = std::uint16_t;

}  // namespace Pith
