#include "Firewall/ActiveWorkManager.h"

#include <utility>

#include "Firewall/Trace.h"
#include "framework/Kiv/Text.h"
#include "framework/Pith/Fmtrace.h"

namespace Firewall {

ActiveWorkManager::ActiveWorkManager(ActiveWorkManagerAttributes attributes)
    : Reactor(std::move(attributes)) {}

ActiveWorkManager::Handle::Handle(Pith::Ptr<ActiveWorkManager> manager)
    : manager_(std::move(manager)) {
  try {
    handleInitialized();
  } catch (...) {
    closeQuietly();  // there will be no destructor, and the count must not stay up
    throw;
  }
}

void ActiveWorkManager::countDown() {
  --activeHandles_;
  Pith::fmtrace(facility, 8, "Handle", "Active work handles {}", activeHandles_);
  if (activeHandles_ != 0) return;
  outFirewallConfig->updateInProgressIs(false);
  Pith::fmtrace(facility, 6, "Handle", "set updateInProgress to false");
}

namespace {

Pith::Ptr<ActiveWorkManager> managerFromText(Kiv::CharRange& text) {
  try {
    return Kiv::strepToValue<Pith::Ptr<ActiveWorkManager>>(text);
  } catch (const Pith::RangeException& error) {
    Kiv::Impl::throwDeserializing("manager", error.what());
  }
}

}  // namespace

ActiveWorkManager::Handle::Handle(Kiv::CharRange& text) : Handle(managerFromText(text)) {}

ActiveWorkManager::Handle& ActiveWorkManager::Handle::operator=(Handle other) noexcept {
  std::swap(manager_, other.manager_);
  return *this;
}

ActiveWorkManager::Handle::~Handle() { closeQuietly(); }

void ActiveWorkManager::Handle::closeQuietly() noexcept {
  try {
    close();
  } catch (...) {  // NOLINT(bugprone-empty-catch) the exception that is under way matters more
  }
}

void ActiveWorkManager::Handle::handleInitialized() {
  if (!manager_) return;
  ++manager_->activeHandles_;
  Pith::fmtrace(facility, 8, "Handle", "Active work handles {}", manager_->activeHandles_);
  HwConfig& out = *manager_->outFirewallConfig;
  // The flag is asked, not the count: somebody else may have lowered it.
  if (!out.updateInProgress()) {
    out.updateInProgressIs(true);
    Pith::fmtrace(facility, 6, "Handle", "set updateInProgress to true");
  }
}

void ActiveWorkManager::Handle::handleDestroyed() {
  if (const auto manager = manager_) manager->countDown();
}

void ActiveWorkManager::Handle::close() {
  if (const auto manager = std::exchange(manager_, nullptr)) manager->countDown();
}

void ActiveWorkManager::Handle::appendTo(std::string& out) const { Kiv::appendText(out, manager_); }

}  // namespace Firewall
