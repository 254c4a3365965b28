// Memory that runs out when a test wants it: operator new of the whole test program.
//
//   FailingNew::Scope scope(3);   // the fourth allocation from here on fails, and all after it
//   EXPECT_THROW(map.insert(...), std::bad_alloc);
//
//   FailingNew::Scope scope(3, 1);   // the fourth fails, and no other
#pragma once

#include <cstddef>

namespace FailingNew {

class Scope {
 public:
  explicit Scope(std::size_t allocationsLeft) noexcept;
  Scope(std::size_t allocationsLeft, std::size_t failures) noexcept;
  Scope(const Scope&) = delete;
  Scope& operator=(const Scope&) = delete;
  ~Scope();
  // How many have failed since the beginning of the scope.
  static std::size_t failed() noexcept;
};

// Allocations that have not been freed.
std::size_t liveAllocations() noexcept;

}  // namespace FailingNew
