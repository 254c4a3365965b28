// Whether the running output is what its configuration makes from nothing.
//
//   for (const Difference& difference : verify(store)) ...
//
// The inputs are copied to a store of their own and compiled there; the running one is only read.
// How often a service was compiled does not count.
#pragma once

#include <string>
#include <vector>

#include "agent/Store/Store.h"

namespace Agent {

struct Difference {
  std::string path;
  std::string running;  // empty when it is not there
  std::string fresh;
  std::string explanation;  // of docs/behaviour.md; empty: none, which is a fault
};

std::vector<Difference> verify(const Store& running);

}  // namespace Agent
