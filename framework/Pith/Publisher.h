// Publishers and subscribers: how a change reaches those who asked for it.
//
// Every store object has a Publisher. A Subscriber names a function that is called at once, on the
// writer's stack, for every change of the object it is subscribed to:
//
//   void onConfig(void* owner, Pith::Publisher*, Pith::Subscriber*, Pith::FieldId field,
//                 const void* key, const Pith::Change* change);
//   Pith::Subscriber subscriber(this, &onConfig);
//   config->publisher().subscriberAdd(subscriber);
//
// Order: subscribers are called in the order in which they subscribed. A write made inside a
// notification is delivered in full before the outer one goes on.
//
// Inside a notification everything is allowed: subscribing, unsubscribing, writing, destroying a
// subscriber or the publisher itself. A subscriber that left is not called any more; one that
// joined is not called for the change under way.
//
// An exception from a subscriber reaches the writer after the other subscribers have been told;
// when several throw, the first one does.
//
// Cost: publishing to nobody is one load and one branch. Subscribing and unsubscribing are
// amortised constant, whatever the number of subscribers.
#pragma once

#include <cstdint>

#include "framework/Pith/Export.h"
#include "framework/Pith/FieldId.h"

namespace Pith {

class Publisher;
class Subscriber;

// The value of an attribute, or of a collection's entry, before and after a change; null where
// there was, or is, none. What the pointers point to is the attribute's value type.
struct Change {
  const void* previous = nullptr;
  const void* current = nullptr;
};

using Dispatch = void (*)(void* owner, Publisher* publisher, Subscriber* subscriber, FieldId field,
                          const void* key, const Change* change);

// One subscription: on at most one publisher at a time; leaves it when destroyed.
class PITH_EXPORT Subscriber {
 public:
  Subscriber(void* owner, Dispatch dispatch) noexcept : owner_(owner), dispatch_(dispatch) {}
  Subscriber(const Subscriber&) = delete;
  Subscriber& operator=(const Subscriber&) = delete;
  ~Subscriber();

  // The publisher it is subscribed to; null when it is subscribed to none or that one has gone.
  Publisher* publisher() const noexcept { return publisher_; }

  // Leaves `publisher` if it is subscribed to it.
  void unsubscribeFrom(Publisher* publisher) noexcept;

 private:
  friend class Publisher;

  void* owner_;
  Dispatch dispatch_;
  Publisher* publisher_ = nullptr;
  std::uint32_t slot_ = 0;
};

class PITH_EXPORT Publisher {
 public:
  Publisher() noexcept = default;
  Publisher(const Publisher&) = delete;
  Publisher& operator=(const Publisher&) = delete;
  ~Publisher();

  // A subscriber that is here already stays where it is; one that is elsewhere leaves there first.
  void subscriberAdd(Subscriber& subscriber);
  void subscriberRemove(Subscriber& subscriber) noexcept;
  std::uint32_t subscriberCount() const noexcept;
  // False when there are none; may stay true until the end of a notification in which all left.
  bool mayHaveSubscribers() const noexcept { return list_ != nullptr; }

  // Tells every subscriber that `field` changed. `key` is the changed entry's key for collections
  // and null for values.
  void publish(FieldId field, const void* key, const Change& change) {
    if (list_ != nullptr) publishAll(field, key, change);
  }

 private:
  struct List;

  void publishAll(FieldId field, const void* key, const Change& change);
  // After someone left, and only when no notification walks the list.
  void tidy() noexcept;

  List* list_ = nullptr;
};

// Removes a subscription again unless `release()` was called: for code that subscribes and may then
// be left by an exception.
class SubscriberScopeGuard {
 public:
  SubscriberScopeGuard(Publisher& publisher, Subscriber& subscriber) : subscriber_(&subscriber) {
    publisher.subscriberAdd(subscriber);
  }
  SubscriberScopeGuard(const SubscriberScopeGuard&) = delete;
  SubscriberScopeGuard& operator=(const SubscriberScopeGuard&) = delete;
  ~SubscriberScopeGuard() {
    if (subscriber_ != nullptr) subscriber_->unsubscribeFrom(subscriber_->publisher());
  }
  void release() noexcept { subscriber_ = nullptr; }

 private:
  Subscriber* subscriber_;
};

}  // namespace Pith
