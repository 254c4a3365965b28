// Configurations of few names, so that everything meets: whole documents of random content.
//
//   std::mt19937 random(1);
//   const std::string yaml = randomConfiguration(random, {.sources = 2});
#pragma once

#include <random>
#include <string>

namespace TestAgent {

struct RandomShape {
  unsigned sources = 1;
  // Leaves out whatever makes the output depend on the way to a configuration (docs/behaviour.md):
  // what the switch knows is always the same, no two segments share a prefix, no links by
  // "forwarding-segments", no range of ports inside of another, and the one source stays enabled.
  bool ofItsOwn = false;
};

std::string randomConfiguration(std::mt19937& random, const RandomShape& shape);

}  // namespace TestAgent
