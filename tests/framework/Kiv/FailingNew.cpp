#include "tests/framework/Kiv/FailingNew.h"

#include <atomic>
#include <cstdlib>
#include <limits>
#include <new>

namespace {

constexpr std::size_t endless = std::numeric_limits<std::size_t>::max();

std::atomic<std::size_t> allocationsLeft = endless;
std::atomic<std::size_t> failuresLeft = endless;
std::atomic<std::size_t> failures = 0;
std::atomic<std::size_t> live = 0;

void* counted(void* memory) {
  if (memory == nullptr) throw std::bad_alloc();
  ++live;
  return memory;
}

void checkMemoryIsLeft() {
  if (allocationsLeft == endless) return;
  if (allocationsLeft > 0) {
    --allocationsLeft;
  } else if (failuresLeft > 0) {
    --failuresLeft;
    ++failures;
    throw std::bad_alloc();
  }
}

void release(void* memory) noexcept {
  if (memory == nullptr) return;
  --live;
  std::free(memory);
}

}  // namespace

void* operator new(std::size_t bytes) {
  checkMemoryIsLeft();
  return counted(std::malloc(bytes == 0 ? 1 : bytes));
}
void* operator new(std::size_t bytes, std::align_val_t alignment) {
  checkMemoryIsLeft();
  const auto unit = static_cast<std::size_t>(alignment);
  return counted(std::aligned_alloc(unit, (bytes + unit - 1) / unit * unit));
}
void operator delete(void* memory) noexcept { release(memory); }
void operator delete(void* memory, std::size_t) noexcept { release(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { release(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { release(memory); }

namespace FailingNew {

Scope::Scope(std::size_t count) noexcept : Scope(count, endless) {}
Scope::Scope(std::size_t count, std::size_t failing) noexcept {
  allocationsLeft = count;
  failuresLeft = failing;
  failures = 0;
}
Scope::~Scope() { allocationsLeft = endless; }
std::size_t Scope::failed() noexcept { return failures; }

std::size_t liveAllocations() noexcept { return live; }

}  // namespace FailingNew
