// What those who follow a collection keep with it: something that they share, and a number by which
// they notice a change that they have not been told of yet.
//
//   KIV_CHILDREN_INDEXED(Pith::String, PrefixList, prefixList, ipv4Lists_.changed)
//   const Kiv::Followed& ipv4Lists() const noexcept { return ipv4Lists_; }
//   ...
//   Kiv::Followed ipv4Lists_;
#pragma once

#include <cstdint>
#include <memory>

namespace Kiv {

class Followed {
 public:
  // Theirs to set, also in a collection that they may only read.
  std::weak_ptr<void>& shared() const noexcept { return shared_; }
  // Another number after each member that came, went or changed.
  std::uint64_t version() const noexcept { return version_; }

  template <class... Change>
  void changed(const Change&... /*change*/) noexcept {
    ++version_;
  }

 private:
  mutable std::weak_ptr<void> shared_;
  std::uint64_t version_ = 0;
};

}  // namespace Kiv
