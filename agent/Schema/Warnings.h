// What a checked configuration asks for that will not reach the hardware, each with its place and
// its reason.
//
//   warn(document.root, {.maxExpansion = 10000}, diagnostics);
//
// Cost: a few walks of the document, and hash tables of its names and prefixes.
#pragma once

#include <cstddef>

#include "agent/Document/Diagnostics.h"
#include "agent/Document/Node.h"

namespace Agent {

struct WarningLimits {
  std::size_t maxExpansion = 10000;  // hardware rules that one rule becomes
};

void warn(const Node& root, const WarningLimits& limits, Diagnostics& diagnostics);

}  // namespace Agent
