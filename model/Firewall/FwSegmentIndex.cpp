// The indexes of the segments that use a class map, and of those that receive from a segment.
#include <atomic>

#include "model/Firewall/HwConfig.h"

namespace Firewall {

void FwSegment::indexClassName(const Pith::String& previous, const Pith::String& current) {
  auto* const directory = dynamic_cast<FwSegmentDir*>(parent());
  ClassUsers* const users = directory == nullptr ? nullptr : directory->classUsers();
  if (users == nullptr) return;
  const ClassPlace place{directory->order(), name()};
  if (!current.empty()) users->add(current, place, *this);
  if (!previous.empty()) users->remove(previous, place);
}

void FwSegmentDir::unindex(const FwSegment& gone) noexcept {
  for (const auto& link : gone.fromSegment()) {
    if (link.value.segment) link.value.segment->receiverRemove(gone.name());
  }
  if (gone.className().empty()) return;
  if (ClassUsers* const users = classUsers()) {
    users->remove(gone.className(), {order(), gone.name()});
  }
}

std::optional<Pith::String> FwSegment::receiver(const std::optional<Pith::String>& after) const {
  const auto next = after ? receivers_.upperBound(*after) : receivers_.begin();
  if (!next) return std::nullopt;
  return next->key;
}

void FwSegment::indexFromSegment(const Pith::String& /*from*/, const FwFromSegment* previous,
                                 const FwFromSegment* current) {
  if (parent() == nullptr) return;  // it left its directory, and its links were cut
  FwSegment* const before = previous == nullptr ? nullptr : previous->segment.get();
  FwSegment* const now = current == nullptr ? nullptr : current->segment.get();
  if (before == now) return;
  if (now != nullptr) now->receiverAdd(name());
  if (before != nullptr) before->receiverRemove(name());
}

void FwSegment::receiverAdd(const Pith::String& segment) {
  ++receivers_.insert({segment, 0}).first->value;
}

void FwSegment::receiverRemove(const Pith::String& segment) noexcept {
  auto* const receiver = receivers_.find(segment);
  if (receiver != nullptr && --receiver->value == 0) receivers_.erase(segment);
}

ClassUsers* FwVrf::classUsers() noexcept {
  auto* const hwConfig = dynamic_cast<HwConfig*>(parent());
  return hwConfig == nullptr ? nullptr : &hwConfig->vrfClassUsers_;
}

std::uint64_t FwVrf::nextOrder() noexcept {
  static std::atomic<std::uint64_t> last = 0;
  return ++last;
}

void HwConfig::indexVrf(const Pith::String& /*name*/, const FwVrf* previous,
                        const FwVrf* /*current*/) {
  if (previous == nullptr) return;
  for (const Pith::Ptr<FwSegment>& segment : previous->segment()) {
    if (segment->className().empty()) continue;
    vrfClassUsers_.remove(segment->className(), {previous->order(), segment->name()});
  }
}

std::optional<ClassUser> HwConfig::classUser(const Pith::String& className,
                                             const ClassPlace& place) const {
  const ClassUsers::Use* use = vrfClassUsers_.after(className, place);
  if (use == nullptr && l2Seg_.get()) use = l2Seg_.get()->l2ClassUsers_.after(className, place);
  if (use == nullptr) return std::nullopt;
  return ClassUser{use->place, use->target};
}

}  // namespace Firewall
