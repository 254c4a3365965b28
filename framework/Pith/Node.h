// The base of everything that is held by counted reference: store objects and reactors.
//
// A node is born with one use, which its creator adopts (Ptr<T>::adopt). The last decUse() calls
// onLastUse(), which destroys the node; a class that has work to do while it is still whole
// overrides it.
//
// Two flags belong to the notification machinery. `hasNotificationActive` says that the node's
// subscriptions are on. The mark-and-sweep flag says that the node is a zombie: it is still there,
// but it ignores what it is told.
#pragma once

#include <cstdint>

#include "framework/Pith/Export.h"
#include "framework/Pith/ThreadControl.h"

namespace Pith {

class PITH_EXPORT Node {
 public:
  Node(const Node&) = delete;
  Node& operator=(const Node&) = delete;

  void newUse() const noexcept { uses_.increment(); }
  void decUse() const noexcept {
    if (uses_.decrement()) const_cast<Node*>(this)->onLastUse();
  }
  std::uint32_t useCount() const noexcept { return uses_.value(); }

  bool hasNotificationActive() const noexcept { return notificationActive_; }
  bool markAndSweepFlag() const noexcept { return markAndSweep_; }
  void markAndSweepFlagSet(bool on) noexcept { markAndSweep_ = on; }

 protected:
  Node() noexcept : uses_(1) {}
  virtual ~Node();

  // The last use is gone: destroys the node.
  virtual void onLastUse() noexcept;

  // While the node is torn down, references to it may come and go without a second destruction.
  void usesPinned() noexcept { uses_.increment(); }

 private:
  friend bool hasNotificationActiveSet(Node& node, bool on) noexcept;

  mutable UseCount uses_;
  bool notificationActive_ = false;
  bool markAndSweep_ = false;
};

// Sets the node's notification flag; true when that changed it.
inline bool hasNotificationActiveSet(Node& node, bool on) noexcept {
  if (node.notificationActive_ == on) return false;
  node.notificationActive_ = on;
  return true;
}

}  // namespace Pith
