#include "model/Firewall/SubnetHolders.h"

#include <utility>

#include "model/Firewall/FwSegment.h"

namespace Firewall {

const Pith::String& SubnetHolders::SegmentName::key(const FwSegment* segment) noexcept {
  return segment->name();
}

void SubnetHolders::add(const Lanx::IpGenAddrWithMask& subnet, const FwSegment& segment) {
  const auto [entry, isNew] = first_.insert({subnet, &segment});
  if (isNew) return;
  const bool isFirst = segment.name() < entry->value->name();
  const FwSegment* other = isFirst ? entry->value : &segment;
  if (auto* const shared = others_.find(subnet)) {
    shared->value.insert(std::move(other));
  } else {
    Segments others;
    others.insert(std::move(other));
    others_.insert({subnet, std::move(others)});
  }
  if (isFirst) entry->value = &segment;
}

void SubnetHolders::remove(const Lanx::IpGenAddrWithMask& subnet,
                           const FwSegment& segment) noexcept {
  auto* const entry = first_.find(subnet);
  if (entry == nullptr) return;
  auto* const shared = others_.find(subnet);
  if (entry->value != &segment) {
    if (shared != nullptr) shared->value.erase(segment.name());
  } else if (shared != nullptr) {
    entry->value = *shared->value.takeFirst();
  } else {
    first_.erase(subnet);
  }
  if (shared != nullptr && shared->value.empty()) others_.erase(subnet);
}

const FwSegment* SubnetHolders::first(const Lanx::IpGenAddrWithMask& subnet) const {
  const auto* const entry = first_.find(subnet);
  return entry == nullptr ? nullptr : entry->value;
}

const FwSegment* SubnetHolders::first(const Lanx::IpGenAddrWithMask& subnet,
                                      const Pith::String& except) const {
  const auto* const entry = first_.find(subnet);
  if (entry == nullptr) return nullptr;
  if (entry->value->name() != except) return entry->value;
  const auto* const shared = others_.find(subnet);
  return shared == nullptr ? nullptr : *shared->value.first();
}

}  // namespace Firewall
