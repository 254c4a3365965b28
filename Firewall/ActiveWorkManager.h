// Tells the consumer of the output that it is in flux.
//
//   ActiveWorkManager::Handle work(activeWorkManager);  // HwConfig.updateInProgress is true
//   ...
//   work.close();                                       // false, when no other handle is open
//
// There is one manager in a tree of reactors. Every piece of work that replays or tears down much
// of the configuration holds a handle while it runs; handles nest freely, and `updateInProgress`
// falls with the last one.
//
// A handle counts up when it is made and down when it is destroyed; a copy counts for itself. An
// exception of a subscriber to `updateInProgress` is dropped by the destructor, while close() lets
// it through, and empties the handle. handleInitialized() and handleDestroyed() only count up and
// down. Whoever calls one of them on a handle has to call the other too, since the count is not
// guarded. A handle without manager does nothing.
#pragma once

#include <cstdint>
#include <string>

#include "framework/Kiv/CharRange.h"
#include "framework/Kiv/Factory.h"
#include "framework/Kiv/Reactor.h"
#include "framework/Pith/Export.h"
#include "framework/Pith/Ptr.h"
#include "model/Firewall/HwConfig.h"

namespace Firewall {

struct ActiveWorkManagerAttributes {
  Pith::Ptr<HwConfig> outFirewallConfig;
  KIV_FIELDS(outFirewallConfig)
};

class PITH_EXPORT ActiveWorkManager final
    : public Kiv::Reactor<ActiveWorkManager, ActiveWorkManagerAttributes> {
  KIV_REACTOR(ActiveWorkManager)

  class Handle;

  std::uint32_t activeHandles() const noexcept { return activeHandles_; }

 private:
  explicit ActiveWorkManager(ActiveWorkManagerAttributes attributes);
  void start() {}
  void countDown();

  std::uint32_t activeHandles_ = 0;
};

class PITH_EXPORT ActiveWorkManager::Handle {
 public:
  Handle() noexcept = default;
  // Opens a handle on the manager, which may be null.
  explicit Handle(Pith::Ptr<ActiveWorkManager> manager);
  // Opens a handle on the manager that the text refers to. DeserializationError for the attribute
  // "manager" when it refers to none, or when there is text behind the reference.
  explicit Handle(Kiv::CharRange& text);
  Handle(const Handle& other) : Handle(other.manager_) {}
  Handle(Handle&& other) noexcept = default;
  Handle& operator=(Handle other) noexcept;
  ~Handle();

  const Pith::Ptr<ActiveWorkManager>& manager() const noexcept { return manager_; }

  // Counts up; done by the constructors. Who calls it once more calls handleDestroyed() once more.
  void handleInitialized();
  // Counts down; done by the destructor. Below 0 the count wraps, and the flag stands.
  void handleDestroyed();
  // Counts down and empties the handle, so that its destructor does nothing.
  void close();

  friend bool operator==(const Handle& a, const Handle& b) noexcept {
    return a.manager_ == b.manager_;
  }
  // The reference to the manager.
  void appendTo(std::string& out) const;

 private:
  void closeQuietly() noexcept;

  Pith::Ptr<ActiveWorkManager> manager_;
};

KIV_FACTORY(ActiveWorkManager, activeWorkManagerFactory)

}  // namespace Firewall
