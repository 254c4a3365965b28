// How a container keeps an entry: in place where moving it cannot fail, else in a box of its own,
// so that shifting, compacting and growing never fail half-way whatever the entry's type does.
//
//   auto pending = Slot<Entry>::prepare(entry);    // the only step that may throw
//   std::construct_at(where, std::move(pending));
#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include "framework/Hoard/Poison.h"

namespace Kiv::detail {

template <class T, bool inPlace = std::is_nothrow_move_constructible_v<T>>
class Slot {
 public:
  using Pending = T*;
  static constexpr std::size_t boxBytes = 0;

  static Pending prepare(T& value) noexcept { return std::addressof(value); }
  explicit Slot(Pending from) noexcept : value_(std::move(*from)) {}
  T& value() noexcept { return value_; }

 private:
  T value_;
};

template <class T>
class Slot<T, false> {
 public:
  using Pending = std::unique_ptr<T>;
  static constexpr std::size_t boxBytes = sizeof(T);

  static Pending prepare(T& value) { return std::make_unique<T>(std::move(value)); }
  explicit Slot(Pending from) noexcept : value_(std::move(from)) {}
  T& value() noexcept { return *value_; }

 private:
  std::unique_ptr<T> value_;
};

// Moves what lies at `from` to the raw memory at `to`; `from` is raw memory then.
template <class S>
void relocate(S* from, S* to) noexcept {
  Hoard::unpoison(to, sizeof(S));
  std::construct_at(to, std::move(*from));
  std::destroy_at(from);
}

// Moves `count` neighbours to a place that may overlap them.
template <class S>
void relocate(S* from, std::size_t count, S* to) noexcept {
  if constexpr (std::is_trivially_copyable_v<S>) {
    if (count != 0) std::memmove(static_cast<void*>(to), from, count * sizeof(S));
  } else if (to < from) {
    for (std::size_t i = 0; i < count; ++i) relocate(from + i, to + i);
  } else {
    for (std::size_t i = count; i-- > 0;) relocate(from + i, to + i);
  }
}

// Raw memory, aligned as `Aligned` needs. Raises std::bad_alloc.
template <class Aligned>
void* allocate(std::size_t bytes) {
  if constexpr (alignof(Aligned) > __STDCPP_DEFAULT_NEW_ALIGNMENT__) {
    return ::operator new (bytes, std::align_val_t{alignof(Aligned)});
  } else {
    return ::operator new(bytes);
  }
}

template <class Aligned>
void deallocate(void* memory, std::size_t bytes) noexcept {
  Hoard::unpoison(memory, bytes);
  if constexpr (alignof(Aligned) > __STDCPP_DEFAULT_NEW_ALIGNMENT__) {
    ::operator delete (memory, std::align_val_t{alignof(Aligned)});
  } else {
    ::operator delete(memory);
  }
}

}  // namespace Kiv::detail
