#include "framework/Hoard/Hoard.h"

#include <mutex>
#include <new>

#include "framework/Hoard/Poison.h"
#include "framework/Hoard/SlabPool.h"
#include "framework/Pith/ThreadControl.h"

namespace Hoard {

namespace {

// Outlives every object of static storage duration: there is no telling which of them free memory.
template <class T>
union Eternal {
  constexpr Eternal() : value() {}
  ~Eternal() {}  // NOLINT(modernize-use-equals-default) that one would be deleted
  Eternal(const Eternal&) = delete;
  Eternal& operator=(const Eternal&) = delete;

  T value;
};

constinit Eternal<SlabPool> pool;
constinit Eternal<std::mutex> poolMutex;

std::unique_lock<std::mutex> lockIfThreaded() {
  if (!Pith::ThreadControl::threaded()) [[likely]] {
    return {};
  }
  return std::unique_lock(poolMutex.value);
}

bool isSlotSize(std::size_t bytes) noexcept {
  return !addressSanitizer && bytes <= SlabPool::largestSlot;
}

}  // namespace

void* slabAlloc(std::size_t bytes) {
  if (!isSlotSize(bytes)) return ::operator new(bytes);
  const auto lock = lockIfThreaded();
  return pool.value.alloc(bytes);
}

void slabFree(void* memory, std::size_t bytes) noexcept {
  if (memory == nullptr) return;
  if (!isSlotSize(bytes)) {
    ::operator delete(memory);
    return;
  }
  const auto lock = lockIfThreaded();
  pool.value.free(memory, bytes);
}

std::size_t slabBytesHeld() noexcept {
  const auto lock = lockIfThreaded();
  return pool.value.slabs() * SlabPool::slabBytes;
}

}  // namespace Hoard
