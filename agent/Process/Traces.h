// The traces of the reactors: on standard error, and into the flight recorder.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "agent/Process/CommonOptions.h"

namespace Agent {

// Traces as the options ask for them, until the end of the process. The status, done when all is
// well.
int startTraces(const CommonOptions& options);
// "FACILITY/LEVEL"; the last "/" divides.
std::optional<std::pair<std::string, int>> traceLevelOf(std::string_view text);

}  // namespace Agent
