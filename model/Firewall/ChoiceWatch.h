// Hears that a segment chooses another list, at once: before any subscriber does.
//
// It is for whoever keeps an index of segments by their choice. As a mere subscriber the owner of
// the index would be told too late: earlier subscribers would find the index wrong. A watch joins
// one segment, and leaves it when it is destroyed; the segment has to live as long.
#pragma once

#include "framework/Lanx/AddressFamily.h"
#include "framework/Pith/Export.h"

namespace Firewall {

class PITH_EXPORT ChoiceWatch {
 public:
  ChoiceWatch() noexcept = default;
  ChoiceWatch(const ChoiceWatch&) = delete;
  ChoiceWatch& operator=(const ChoiceWatch&) = delete;

  // The segment still has the choice that it is about to lose.
  virtual void choiceChanges(Lanx::AddressFamily family) noexcept = 0;

 protected:
  virtual ~ChoiceWatch() {
    if (before_ != nullptr) *before_ = next_;
    if (next_ != nullptr) next_->before_ = before_;
  }

 private:
  friend class ChoiceWatches;

  ChoiceWatch* next_ = nullptr;
  ChoiceWatch** before_ = nullptr;  // what refers to this one
};

// Those that watch one segment.
class ChoiceWatches {
 public:
  // Precondition: the watch has joined none.
  void join(ChoiceWatch& watch) noexcept {
    watch.next_ = first_;
    watch.before_ = &first_;
    if (first_ != nullptr) first_->before_ = &watch.next_;
    first_ = &watch;
  }
  void tell(Lanx::AddressFamily family) const noexcept {
    for (ChoiceWatch* watch = first_; watch != nullptr; watch = watch->next_) {
      watch->choiceChanges(family);
    }
  }

 private:
  ChoiceWatch* first_ = nullptr;
};

}  // namespace Firewall
