#include "model/Firewall/GlobalPrefixes.h"

#include <utility>

namespace Firewall {

void GlobalPrefixes::update(const Lanx::IpGenPrefix& prefix, const Pith::String* previous,
                            const Pith::String* current) {
  if (current == nullptr) {
    const auto gone = places_.take(prefix);
    if (gone) unlink(gone->value, *previous);
    return;
  }
  const auto [entry, isNew] = places_.insert({prefix, next_});
  const Place place = entry->value;
  try {
    link(place, prefix, *current);
  } catch (...) {
    if (isNew) places_.erase(prefix);
    throw;
  }
  if (isNew) ++next_;
  if (previous != nullptr) unlink(place, *previous);
}

std::vector<Lanx::IpGenPrefix> GlobalPrefixes::named(const Pith::String& segment) const {
  std::vector<Lanx::IpGenPrefix> prefixes;
  if (const auto* const entry = named_.find(segment)) {
    prefixes.reserve(entry->value.size());
    for (const auto& place : entry->value) prefixes.push_back(place.value);
  }
  return prefixes;
}

void GlobalPrefixes::link(Place place, const Lanx::IpGenPrefix& prefix,
                          const Pith::String& segment) {
  if (auto* const entry = named_.find(segment)) {
    entry->value.insert({place, prefix});
    return;
  }
  Prefixes prefixes;
  prefixes.insert({place, prefix});
  named_.insert({segment, std::move(prefixes)});
}

void GlobalPrefixes::unlink(Place place, const Pith::String& segment) noexcept {
  auto* const entry = named_.find(segment);
  if (entry == nullptr) return;
  entry->value.erase(place);
  if (entry->value.empty()) named_.erase(segment);
}

}  // namespace Firewall
