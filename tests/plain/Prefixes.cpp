#include "tests/plain/Segments.h"

namespace Plain {

// What is there already from before is brought in line with what is configured now.
void VrfPart::reconcilePrefixes() {
  if (!model().in.capability->globalPrefixListSupported) return;
  const auto directory = output();
  std::set<Prefix> leftToLists;  // since the first source that has it gives it to no segment
  for (const Prefix& prefix : directory->prefixList.keys()) {
    const bool isLeft = isGivenToNone(prefix);
    const std::string segment = isLeft ? "" : globalPrefixSegment(prefix);
    if (!segment.empty()) {
      directory->prefixListIs(prefix, segment);
    } else if (segmentForMatchListPrefix(prefix).empty()) {
      directory->prefixListDel(prefix);
    } else if (isLeft) {
      leftToLists.insert(prefix);
    }
  }
  for (const auto& config : model().enabledConfigs()) {
    const auto vrf = config->vrf.get(name_);
    if (!vrf) continue;
    for (const auto& [prefix, segment] : vrf->prefix.items()) {
      if (segment.empty() || !isSegmentConfigured(model(), name_, segment)) continue;
      if (directory->prefixList.has(prefix) && !leftToLists.contains(prefix)) continue;
      leftToLists.erase(prefix);
      directory->prefixListIs(prefix, segment);
    }
  }
}

// Of the first enabled source that has the prefix and gives it to a segment that is configured.
std::string VrfPart::globalPrefixSegment(const Prefix& prefix) {
  for (const auto& config : model().enabledConfigs()) {
    const auto vrf = config->vrf.get(name_);
    const std::string* const segment = vrf ? vrf->prefix.find(prefix) : nullptr;
    if (segment != nullptr && isSegmentConfigured(model(), name_, *segment)) return *segment;
  }
  return "";
}

// Whether the first enabled source that has the prefix names no segment for it.
bool VrfPart::isGivenToNone(const Prefix& prefix) {
  for (const auto& config : model().enabledConfigs()) {
    const auto vrf = config->vrf.get(name_);
    const std::string* const segment = vrf ? vrf->prefix.find(prefix) : nullptr;
    if (segment != nullptr) return segment->empty();
  }
  return false;
}

std::string VrfPart::segmentForMatchListPrefix(const Prefix& prefix) {
  for (const auto& [name, segment] : output()->segment) {
    if (segment->hasSubnet(Subnet(prefix))) return name;
  }
  return "";
}

void VrfPart::handleGlobalPrefix(const Prefix& prefix) {
  if (!initialized_) return;
  if (input_->prefix.has(prefix)) {
    processGlobalPrefix(*input_, true, prefix);
  } else {
    releaseGlobalPrefix(prefix);
  }
}

// The prefix of this source goes: it is that of the next enabled source that has it.
void VrfPart::releaseGlobalPrefix(const Prefix& prefix) {
  for (const auto& config : model().enabledConfigs(root_->config().get())) {
    const auto vrf = config->vrf.get(name_);
    if (!vrf || !vrf->prefix.has(prefix)) continue;
    processGlobalPrefix(*vrf, true, prefix);
    return;
  }
  processGlobalPrefix(*input_, root_->config()->enabled, prefix);
}

void VrfPart::processGlobalPrefix(const SegmentDir& vrf, bool configured, const Prefix& prefix) {
  const auto directory = output();
  if (!model().in.capability->globalPrefixListSupported || !directory) return;
  const std::string* const segment = vrf.prefix.find(prefix);
  if (configured && segment != nullptr && isSegmentConfigured(model(), name_, *segment)) {
    directory->prefixListIs(prefix, *segment);
    return;
  }
  updateOrRemoveGlobalPrefix(prefix, segmentForMatchListPrefix(prefix));
}

void VrfPart::updateOrRemoveGlobalPrefix(const Prefix& prefix, const std::string& segment) {
  const auto directory = output();
  if (!segment.empty() && directory->find(segment)) {
    directory->prefixListIs(prefix, segment);
  } else {
    directory->prefixListDel(prefix);
  }
}

void VrfPart::processGlobalPrefixesForSegment(const std::string& segment) {
  if (name_.empty() || !output()) return;
  for (const auto& config : model().configs()) {
    const auto vrf = config->vrf.get(name_);
    if (!vrf) continue;
    for (const auto& [prefix, named] : vrf->prefix.items()) {
      if (named == segment) processGlobalPrefix(*vrf, true, prefix);
    }
  }
}

}  // namespace Plain
