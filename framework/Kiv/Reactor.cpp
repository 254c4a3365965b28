#include "framework/Kiv/Reactor.h"

namespace Kiv {

ReactorPart::ReactorPart(ReactorBase& owner) noexcept {
  (owner.lastPart_ == nullptr ? owner.firstPart_ : owner.lastPart_->next_) = this;
  owner.lastPart_ = this;
}

ReactorPart::~ReactorPart() = default;

void ReactorBase::hasNotificationActiveIs(bool on) {
  if (Pith::hasNotificationActiveSet(*this, on)) subscriptionsActiveIs(on);
}

void ReactorBase::subscriptionsActiveIs(bool on) {
  for (ReactorPart* part = firstPart_; part != nullptr; part = part->next()) {
    part->notificationActiveIs(on);
  }
}

void ReactorBase::kivDoZombieReactors(bool on) noexcept {
  if (markAndSweepFlag() != on) markAndSweepFlagSet(on);
}

void ReactorBase::onLastUse() noexcept {
  usesPinned();
  // What a subscriber of an output throws at a reactor that is going must not keep it from going.
  const auto completed = [](const auto& step) {
    try {
      step();
    } catch (...) {  // NOLINT(bugprone-empty-catch)
    }
  };
  kivDoZombieReactors(false);
  completed([this] {
    // Whatever the flag says: it is not set yet when start() threw.
    Pith::hasNotificationActiveSet(*this, false);
    subscriptionsActiveIs(false);
  });
  completed([this] { lastCleanup(); });
  for (ReactorPart* part = firstPart_; part != nullptr; part = part->next()) {
    completed([part] { part->clear(); });
  }
  delete this;
}

}  // namespace Kiv
