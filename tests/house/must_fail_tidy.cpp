// Faults of which clang-tidy has to tell, or lint is not on. No build compiles this file.
#include "tests/house/must_fail_tidy.h"

#include <string>
#include <utility>

std::string::size_type useAfterMove(std::string text) {
  const std::string taken = std::move(text);
  return text.size() + taken.size();
}
