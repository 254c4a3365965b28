// The schema of documents for editors: JSON Schema, draft 4, made from the tables of Schema.h.
//
// It knows names, types, ranges and the look of values. What needs more than one place to know,
// such as duplicates that are written two ways, and host bits, is the matter of Check.h alone.
#pragma once

#include <string>

namespace Agent {

std::string jsonSchema();

}  // namespace Agent
