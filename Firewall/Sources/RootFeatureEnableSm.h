// One configuration source: while it is enabled there is a RootSm for it.
//
// When the start of the source, or of what the source brings up, fails, this reactor stays. It
// keeps the exception until its owner holds the reactor and asks for it by startErrorRaise(). The
// source is tried again when it is disabled and enabled.
#pragma once

#include <exception>
#include <utility>

#include "Firewall/Attributes.h"
#include "Firewall/Sources/RootSm.h"
#include "framework/Kiv/Dir.h"
#include "framework/Kiv/Factory.h"
#include "framework/Kiv/Reactor.h"
#include "framework/Pith/Export.h"
#include "framework/Pith/Ptr.h"
#include "framework/Pith/String.h"
#include "model/Firewall/Config.h"

namespace Firewall {

class PITH_EXPORT RootFeatureEnableSm final
    : public Kiv::Reactor<RootFeatureEnableSm, RootFeatureEnableSmAttributes> {
  KIV_REACTOR(RootFeatureEnableSm)
  KIV_CHILD_REACTOR(RootSm, rootSm)

  static constexpr bool cleanupOnDestruction = true;

  // The arguments of RootSm in order.
  template <class... Args>
  Pith::Ptr<RootSm> rootSmIs(Args&&... args) {
    auto child = rootSm_.is(RootSmAttributes{std::forward<Args>(args)...});
    child->hasNotificationActiveIs(true);
    return child;
  }

  bool initialized() const noexcept { return initialized_; }
  // Raises what the start of this reactor raised, once.
  void startErrorRaise() {
    if (startError_) std::rethrow_exception(std::exchange(startError_, nullptr));
  }

  void inConfigDispatch(Pith::Publisher* publisher, Pith::Subscriber* subscriber,
                        Pith::FieldId field, const void* key, const Pith::Change* change);

  void handleInitialized();
  // Makes or takes down the RootSm, as the source's `enabled` says.
  void handleFeatureStatus();
  // Takes the RootSm down. A second time it changes nothing.
  void cleanup();

 private:
  explicit RootFeatureEnableSm(RootFeatureEnableSmAttributes attributes);
  void start();
  bool isAnotherRunning() const;

  Kiv::Subscription<&RootFeatureEnableSm::inConfigDispatch> inConfigSubscription_;
  std::exception_ptr startError_;
  bool initialized_ = false;
  bool isRootMissing_ = false;  // enabled, but its RootSm could not be made
};

KIV_FACTORY(RootFeatureEnableSm, rootFeatureEnableSmFactory)

}  // namespace Firewall
