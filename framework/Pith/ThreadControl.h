// Whether use counts must be atomic.
//
// Reactors run on one event thread, and there a use count is a plain increment. A host that hands
// references to other threads says so once, before it starts them:
//
//   Pith::ThreadControl::threadedIs(true);
//
// Only the counts of Ptr and String become atomic (and the slab allocator takes a lock); nothing
// else of the store may be used from two threads. Going back is allowed when the other threads are
// gone.
#pragma once

#include <atomic>
#include <cstdint>

#include "framework/Pith/Export.h"

namespace Pith {

class ThreadControl {
 public:
  static bool threaded() noexcept { return threaded_.load(std::memory_order_relaxed); }
  static void threadedIs(bool on) noexcept { threaded_.store(on, std::memory_order_relaxed); }

 private:
  PITH_EXPORT static std::atomic<bool> threaded_;
};

// A use count: plain until ThreadControl says threaded.
class UseCount {
 public:
  explicit UseCount(std::uint32_t count) noexcept : count_(count) {}

  std::uint32_t value() const noexcept { return count_.load(std::memory_order_relaxed); }

  void increment() noexcept {
    if (ThreadControl::threaded()) [[unlikely]] {
      count_.fetch_add(1, std::memory_order_relaxed);
    } else {
      count_.store(value() + 1, std::memory_order_relaxed);
    }
  }

  // True when the count came down to zero.
  bool decrement() noexcept {
    if (ThreadControl::threaded()) [[unlikely]] {
      return count_.fetch_sub(1, std::memory_order_acq_rel) == 1;
    }
    const std::uint32_t count = value() - 1;
    count_.store(count, std::memory_order_relaxed);
    return count == 0;
  }

 private:
  std::atomic<std::uint32_t> count_;
};

}  // namespace Pith
