// The options that every command takes.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Agent {

struct CommonOptions {
  bool quiet = false;   // no warnings, no summaries
  bool timing = false;  // how long each step took, to standard error
  bool strict = false;  // warnings are failures
  std::string color = "auto";
  std::size_t maxErrors = 50;
  std::size_t maxExpansion = 10000;  // hardware rules of one rule before a warning
  std::string flightRecorder = {};
  std::vector<std::string> logs = {};  // FACILITY/LEVEL
};

}  // namespace Agent
