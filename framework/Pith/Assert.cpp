#include "framework/Pith/Assert.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

namespace Pith {
namespace {

constexpr std::size_t lastWordsMax = 8;
std::array<LastWords, lastWordsMax> lastWords{};
bool failing = false;

}  // namespace

void lastWordsAdd(LastWords function) noexcept {
  for (LastWords& slot : lastWords) {
    if (slot == function) return;
    if (slot == nullptr) {
      slot = function;
      return;
    }
  }
}

void assertFailed(const char* text, const char* file, int line) noexcept {
  std::fprintf(stderr, "assertion failed: %s (%s:%d)\n", text, file, line);
  if (!failing) {
    failing = true;
    for (LastWords function : lastWords) {
      if (function != nullptr) function();
    }
  }
  std::abort();
}

}  // namespace Pith
