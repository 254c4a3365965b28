// The index of the segments that name a from-segment or a policy.
#include "model/Firewall/Segment.h"

namespace Firewall {

std::optional<SegmentDir::Dependent> SegmentDir::segmentNaming(const Pith::String& from,
                                                               const Pith::String& policy,
                                                               std::uint64_t place) const {
  const auto* first = fromSegments_.after(from, place);
  const auto* const other = policies_.after(policy, place);
  if (first == nullptr || (other != nullptr && other->place < first->place)) first = other;
  if (first == nullptr) return std::nullopt;
  return Dependent{first->place, Pith::Ptr<const Segment>(first->target)};
}

// `segment` names *current where it named *previous; null and the empty name are none.
void SegmentDir::update(Mentions& mentions, const Segment& segment, const Pith::String* previous,
                        const Pith::String* current) {
  const bool added = current != nullptr && !current->empty();
  const bool removed = previous != nullptr && !previous->empty();
  if (added) mentions.add(*current, segment.place_, segment);
  if (removed) mentions.remove(*previous, segment.place_);
}

void SegmentDir::indexSegment(const Pith::String& /*key*/, const Segment* previous,
                              const Segment* current) {
  if (current != nullptr) current->place_ = ++lastPlace_;
  if (previous == nullptr) return;
  for (const auto& [from, policy] : previous->policy()) {
    update(fromSegments_, *previous, &from, nullptr);
    update(policies_, *previous, &policy, nullptr);
  }
  update(policies_, *previous, &previous->fallbackPolicy(), nullptr);
}

void Segment::indexPolicy(const Pith::String& from, const Pith::String* previous,
                          const Pith::String* current) {
  auto* const directory = dynamic_cast<SegmentDir*>(parent());
  if (directory == nullptr) return;
  SegmentDir::update(directory->policies_, *this, previous, current);
  if ((previous == nullptr) == (current == nullptr)) return;
  try {
    SegmentDir::update(directory->fromSegments_, *this, previous == nullptr ? nullptr : &from,
                       current == nullptr ? nullptr : &from);
  } catch (...) {
    SegmentDir::update(directory->policies_, *this, current, nullptr);
    throw;
  }
}

void Segment::indexFallbackPolicy(const Pith::String& previous, const Pith::String& current) {
  auto* const directory = dynamic_cast<SegmentDir*>(parent());
  if (directory != nullptr) SegmentDir::update(directory->policies_, *this, &previous, &current);
}

}  // namespace Firewall
