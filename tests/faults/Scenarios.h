// Changes of a switch in which everything is configured, for what goes wrong in the middle of one.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "tests/plain/Life.h"
#include "tests/plain/RealSwitch.h"

namespace Faults {

struct Scenario {
  std::string name;
  Plain::History before;
  std::string change;
  bool writes = true;     // whether it writes to the output
  bool allocates = true;  // whether it needs memory
};

const std::vector<Scenario>& scenarios();

// What an operator does when something went wrong: the root started, if it is not, and the sources
// disabled and enabled again.
Plain::History repair(const Scenario& scenario);

// The output that the plain model has after change and repair.
Plain::Lines repairedOutput(const Scenario& scenario);

void apply(Plain::RealSwitch& real, const Plain::History& history);

inline void PrintTo(const Scenario& scenario, std::ostream* out) { *out << scenario.change; }

}  // namespace Faults
