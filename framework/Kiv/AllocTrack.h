// How many objects of a type there are, and what they hold.
//
//   class Segment : public Kiv::SlabObject<Segment> { ... };   // from the slab allocator, counted
//
//   Kiv::AllocTrackTypeInfo::each([](const Kiv::AllocTrackTypeInfo& type) {
//     std::cout << type.name() << ' ' << type.live() << '\n';
//   });
//
// A type enters the list when its first object is made, and stays. One name is one type, whichever
// library made the object. The counts cost three additions an object, atomic once
// Pith::ThreadControl says threaded.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <new>
#include <string>
#include <string_view>

#include "framework/Hoard/Hoard.h"
#include "framework/Kiv/TypeName.h"
#include "framework/Pith/Export.h"
#include "framework/Pith/ThreadControl.h"

namespace Kiv {

class PITH_EXPORT AllocTrackTypeInfo {
 public:
  AllocTrackTypeInfo(std::string_view name, std::size_t objectSize)
      : name_(name), objectSize_(objectSize) {}
  AllocTrackTypeInfo(const AllocTrackTypeInfo&) = delete;
  AllocTrackTypeInfo& operator=(const AllocTrackTypeInfo&) = delete;

  const std::string& name() const noexcept { return name_; }
  // sizeof the type.
  std::size_t objectSize() const noexcept { return objectSize_; }
  // Objects that exist; objects that memory was ever given to.
  std::uint64_t live() const noexcept { return live_.load(std::memory_order_relaxed); }
  std::uint64_t total() const noexcept { return total_.load(std::memory_order_relaxed); }
  // Bytes of the objects that exist: more than live() * objectSize() if some are of derived types.
  std::uint64_t bytes() const noexcept { return bytes_.load(std::memory_order_relaxed); }

  void objectAdded(std::size_t objectBytes) noexcept {
    add(live_, 1);
    add(total_, 1);
    add(bytes_, objectBytes);
  }
  void objectRemoved(std::size_t objectBytes) noexcept {
    add(live_, std::uint64_t{0} - 1);
    add(bytes_, std::uint64_t{0} - objectBytes);
  }

  // The type of that name, made when it is first asked for; it is never destroyed.
  static AllocTrackTypeInfo& typeFor(std::string_view name, std::size_t objectSize);
  // The same, but null if it has not been made.
  static const AllocTrackTypeInfo* find(std::string_view name);
  // Visits the types in the order of their names. `visit` must not make the first object of a type.
  static void each(const std::function<void(const AllocTrackTypeInfo&)>& visit);

 private:
  using Count = std::atomic<std::uint64_t>;

  static void add(Count& count, std::uint64_t number) noexcept {
    if (Pith::ThreadControl::threaded()) [[unlikely]] {
      count.fetch_add(number, std::memory_order_relaxed);
    } else {
      count.store(count.load(std::memory_order_relaxed) + number, std::memory_order_relaxed);
    }
  }

  std::string name_;
  std::size_t objectSize_;
  Count live_ = 0;
  Count total_ = 0;
  Count bytes_ = 0;
};

// Gives T its memory from the slab allocator, counted under T's name: what T::typeName says, a
// static function or variable, if T has that, else the name as written in the code. A class that
// cannot derive from it calls its two operators from its own.
//
// Objects of a class derived from T are counted as T's, with their own size; T's destructor must be
// virtual then, and the class not more aligned than T. If the constructor throws, memory and live
// count are as before.
template <class T>
class PITH_EXPORT SlabObject {
 public:
  static void* operator new(std::size_t bytes) {
    AllocTrackTypeInfo& type = typeInfo();
    void* const memory = alloc(bytes);
    type.objectAdded(bytes);
    return memory;
  }
  static void operator delete(void* memory, std::size_t bytes) noexcept {
    if (memory == nullptr) return;
    typeInfo().objectRemoved(bytes);
    free(memory, bytes);
  }

  static AllocTrackTypeInfo& typeInfo() {
    static AllocTrackTypeInfo& type = AllocTrackTypeInfo::typeFor(name(), sizeof(T));
    return type;
  }

 private:
  static constexpr std::string_view name() {
    if constexpr (requires { std::string_view(T::typeName()); }) {
      return T::typeName();
    } else if constexpr (requires { std::string_view(T::typeName); }) {
      return T::typeName;
    } else {
      return typeNameOf<T>();
    }
  }

  static void* alloc(std::size_t bytes) {
    if constexpr (alignof(T) > __STDCPP_DEFAULT_NEW_ALIGNMENT__) {
      return ::operator new (bytes, std::align_val_t{alignof(T)});
    } else {
      return Hoard::slabAlloc(bytes);
    }
  }
  static void free(void* memory, std::size_t bytes) noexcept {
    if constexpr (alignof(T) > __STDCPP_DEFAULT_NEW_ALIGNMENT__) {
      ::operator delete (memory, std::align_val_t{alignof(T)});
    } else {
      Hoard::slabFree(memory, bytes);
    }
  }
};

}  // namespace Kiv
