// Counts what a test program asks of the heap. Replaces operator new and delete: for one source of
// a program.
//
//   EXPECT_EQ(TestSupport::allocationsOf([&] { map.find(7); }), 0U);
#pragma once

#include <cstddef>
#include <cstdlib>
#include <new>

namespace TestSupport {

inline std::size_t allocations = 0;

template <class Function>
std::size_t allocationsOf(Function function) {
  const std::size_t before = allocations;
  function();
  return allocations - before;
}

}  // namespace TestSupport

// Not inlined, lest g++ see malloc() here and free() there and take them for mismatched.
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  ++TestSupport::allocations;
  return std::malloc(size == 0 ? 1 : size);
}
[[gnu::noinline]] void* operator new(std::size_t size) {
  if (void* memory = operator new(size, std::nothrow); memory != nullptr) return memory;
  throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
