// Counted references.
//
//   Pith::Ptr<Config> config = Pith::Ptr<Config>::adopt(new Config("cli"));
//   Pith::Ptr<const Config> reader = config;    // one more use
//
// A Ptr costs one pointer; a copy costs one increment, a move none. AnchorPtr is a Ptr that is held
// for its lifetime alone: it keeps a reactor alive while one of its handlers runs, since the
// handler may make its owner drop it.
//
// T is a Pith::Node, complete where the Ptr is copied or destroyed.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "framework/Pith/Export.h"
#include "framework/Pith/Hash.h"

namespace Pith {

// A reference to a U is one to a T.
template <class U, class T>
concept RefersTo = std::is_convertible_v<U*, T*>;

template <class T>
class PITH_EXPORT Ptr {
 public:
  using Pointee = T;

  constexpr Ptr() noexcept = default;
  constexpr Ptr(std::nullptr_t) noexcept {}    // NOLINT(google-explicit-constructor)
  Ptr(T* object) noexcept : object_(object) {  // NOLINT(google-explicit-constructor)
    if (object_ != nullptr) object_->newUse();
  }
  Ptr(const Ptr& other) noexcept : Ptr(other.object_) {}
  Ptr(Ptr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  template <RefersTo<T> U>
  Ptr(const Ptr<U>& other) noexcept : Ptr(other.get()) {}  // NOLINT(google-explicit-constructor)
  template <RefersTo<T> U>
  Ptr(Ptr<U>&& other) noexcept : object_(other.release()) {}  // NOLINT(google-explicit-constructor)
  ~Ptr() {
    if (object_ != nullptr) object_->decUse();
  }

  // By value: the old object is let go last, when this reference already holds the new one.
  Ptr& operator=(Ptr other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }

  // Takes over a use that the caller holds.
  static Ptr adopt(T* object) noexcept {
    Ptr result;
    result.object_ = object;
    return result;
  }
  // Gives the use to the caller.
  T* release() noexcept { return std::exchange(object_, nullptr); }

  T* get() const noexcept { return object_; }
  T* operator->() const noexcept { return object_; }
  T& operator*() const noexcept { return *object_; }
  explicit operator bool() const noexcept { return object_ != nullptr; }

  std::uint64_t hash() const noexcept { return hashOf(reinterpret_cast<std::uintptr_t>(object_)); }

 private:
  T* object_ = nullptr;
};

template <class T, class U>
bool operator==(const Ptr<T>& a, const Ptr<U>& b) noexcept {
  return a.get() == b.get();
}
template <class T>
bool operator==(const Ptr<T>& a, std::nullptr_t) noexcept {
  return a.get() == nullptr;
}

// The object as a U, or null when it is something else.
template <class U, class T>
Ptr<U> dynamicPtrCast(const Ptr<T>& object) noexcept {
  return Ptr<U>(dynamic_cast<U*>(object.get()));
}

template <class T>
class AnchorPtr {
 public:
  explicit AnchorPtr(T* object) noexcept : object_(object) {}
  AnchorPtr(const AnchorPtr&) = delete;
  AnchorPtr& operator=(const AnchorPtr&) = delete;
  ~AnchorPtr() = default;

 private:
  Ptr<T> object_;
};

}  // namespace Pith
