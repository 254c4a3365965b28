// Memory that runs out when a test wants it: operator new of the whole test program.
//
//   FailingNew::Scope scope(3);   // the fourth allocation from here on fails, and all after it
//   EXPECT_THROW(map.insert(...), std::bad_alloc);
#pragma once

#include <cstddef>

namespace FailingNew {

class Scope {
 public:
  explicit Scope(std::size_t allocationsLeft) noexcept;
  Scope(const Scope&) = delete;
  Scope& operator=(const Scope&) = delete;
  ~Scope();
};

// Allocations that have not been freed.
std::size_t liveAllocations() noexcept;

}  // namespace FailingNew
