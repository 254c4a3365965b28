#include "framework/Pith/Publisher.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <vector>

namespace Pith {

// The subscribers in subscription order; a slot whose subscriber left is null until the list is
// packed, which happens only when no notification walks it.
struct Publisher::List {
  std::vector<Subscriber*> slots;
  std::uint32_t left = 0;      // null slots
  std::uint32_t walks = 0;     // notifications under way
  bool publisherGone = false;  // the last walk deletes the list

  void packWhenWorthIt() noexcept {
    if (left < (slots.size() + 1) / 2) return;
    std::erase(slots, nullptr);
    for (std::size_t slot = 0; slot < slots.size(); ++slot) {
      slots[slot]->slot_ = static_cast<std::uint32_t>(slot);
    }
    left = 0;
  }
};

Subscriber::~Subscriber() { unsubscribeFrom(publisher_); }

void Subscriber::unsubscribeFrom(Publisher* publisher) noexcept {
  if (publisher != nullptr) publisher->subscriberRemove(*this);
}

Publisher::~Publisher() {
  if (list_ == nullptr) return;
  for (Subscriber*& subscriber : list_->slots) {
    if (subscriber != nullptr) subscriber->publisher_ = nullptr;
    subscriber = nullptr;
  }
  if (list_->walks > 0) {
    list_->publisherGone = true;
  } else {
    delete list_;
  }
}

void Publisher::subscriberAdd(Subscriber& subscriber) {
  if (subscriber.publisher_ == this) return;
  if (list_ == nullptr) list_ = new List;
  list_->slots.push_back(nullptr);  // what may throw comes first
  ++list_->left;
  subscriber.unsubscribeFrom(subscriber.publisher_);
  list_->slots.back() = &subscriber;
  --list_->left;
  subscriber.slot_ = static_cast<std::uint32_t>(list_->slots.size() - 1);
  subscriber.publisher_ = this;
}

void Publisher::subscriberRemove(Subscriber& subscriber) noexcept {
  if (subscriber.publisher_ != this) return;
  subscriber.publisher_ = nullptr;
  list_->slots[subscriber.slot_] = nullptr;
  ++list_->left;
  if (list_->walks == 0) tidy();
}

void Publisher::tidy() noexcept {
  list_->packWhenWorthIt();
  if (!list_->slots.empty()) return;
  delete list_;
  list_ = nullptr;
}

std::uint32_t Publisher::subscriberCount() const noexcept {
  return list_ == nullptr ? 0 : static_cast<std::uint32_t>(list_->slots.size()) - list_->left;
}

void Publisher::publishAll(FieldId field, const void* key, const Change& change) {
  List* const list = list_;  // outlives the publisher while it is walked
  std::exception_ptr first;
  const std::size_t joined = list->slots.size();
  ++list->walks;
  for (std::size_t slot = 0; slot < joined; ++slot) {
    Subscriber* const subscriber = list->slots[slot];
    if (subscriber == nullptr) continue;
    try {
      subscriber->dispatch_(subscriber->owner_, this, subscriber, field, key, &change);
    } catch (...) {
      if (!first) first = std::current_exception();
    }
  }
  if (--list->walks == 0) {
    if (list->publisherGone) {
      delete list;
    } else {
      tidy();
    }
  }
  if (first) std::rethrow_exception(first);
}

}  // namespace Pith
