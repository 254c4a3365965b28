// The whole output of the reactors as JSON or YAML.
#pragma once

#include <string>

#include "agent/Store/Store.h"

namespace Agent {

// Raised when a reader of the last version could not read it any more.
inline constexpr unsigned compiledSchemaVersion = 1;

std::string compiledTree(const Store& store, bool asJson);

}  // namespace Agent
