// The framework's string: what every name and key is.
//
//   Pith::String name("default");
//   Pith::String copy = name;         // one increment
//   if (copy == name) ...             // equal pointers: no bytes are looked at
//
// Immutable; one pointer; the text lies behind its count, length and hash in one allocation, and
// the hash is computed once, when the string is made. The empty string has no allocation. Order is
// by bytes. The text is terminated, but may hold any byte.
//
// A moved-from String is empty.
#pragma once

#include <compare>
#include <cstdint>
#include <cstring>
#include <iosfwd>
#include <string>
#include <string_view>
#include <utility>

#include "framework/Pith/Export.h"
#include "framework/Pith/ThreadControl.h"

namespace Pith {

class PITH_EXPORT String {
 public:
  String() noexcept = default;
  // NOLINTBEGIN(google-explicit-constructor)
  String(std::string_view text);
  String(const char* text) : String(std::string_view(text)) {}
  String(const std::string& text) : String(std::string_view(text)) {}
  // NOLINTEND(google-explicit-constructor)
  String(const String& other) noexcept : rep_(other.rep_) {
    if (rep_ != nullptr) rep_->uses.increment();
  }
  String(String&& other) noexcept : rep_(std::exchange(other.rep_, nullptr)) {}
  ~String() {
    if (rep_ != nullptr && rep_->uses.decrement()) destroy(rep_);
  }
  String& operator=(String other) noexcept {
    std::swap(rep_, other.rep_);
    return *this;
  }

  std::string_view view() const noexcept {
    return rep_ == nullptr ? std::string_view() : std::string_view(rep_->text(), rep_->length);
  }
  const char* c_str() const noexcept { return rep_ == nullptr ? "" : rep_->text(); }
  std::uint32_t size() const noexcept { return rep_ == nullptr ? 0 : rep_->length; }
  bool empty() const noexcept { return rep_ == nullptr; }
  std::uint64_t hash() const noexcept { return rep_ == nullptr ? 0 : rep_->hash; }
  void appendTo(std::string& out) const { out.append(view()); }

  friend bool operator==(const String& a, const String& b) noexcept {
    if (a.rep_ == b.rep_) return true;
    if (a.rep_ == nullptr || b.rep_ == nullptr || a.rep_->hash != b.rep_->hash) return false;
    return a.view() == b.view();
  }
  friend bool operator==(const String& a, std::string_view b) noexcept { return a.view() == b; }
  friend bool operator==(const String& a, const char* b) noexcept { return a.view() == b; }
  friend std::strong_ordering operator<=>(const String& a, const String& b) noexcept {
    return a.rep_ == b.rep_ ? std::strong_ordering::equal : a.view() <=> b.view();
  }

 private:
  struct Rep {
    UseCount uses{1};
    std::uint32_t length;
    std::uint64_t hash;
    const char* text() const noexcept { return reinterpret_cast<const char*>(this + 1); }
    char* text() noexcept { return reinterpret_cast<char*>(this + 1); }
  };
  static void destroy(Rep* rep) noexcept;

  Rep* rep_ = nullptr;
};

PITH_EXPORT std::ostream& operator<<(std::ostream& out, const String& string);

}  // namespace Pith
