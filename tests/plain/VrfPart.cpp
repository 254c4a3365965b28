#include "tests/plain/Segments.h"

namespace Plain {

VrfPart::VrfPart(Root& root, std::string name, std::shared_ptr<SegmentDir> input)
    : root_(&root),
      name_(std::move(name)),
      input_(std::move(input)),
      inputWatch_(input_,
                  [this](const News& news) {
                    if (news.what == "prefix") handleGlobalPrefix(Prefix::parse(news.key));
                    if (news.what == "segment") handleSegment(news.key);
                  }),
      capabilityWatch_(root.model().in.capability, [this](const News& news) {
        if (news.what == "forwardingSegmentsPolicySupported") handleForwardingSupported();
      }) {
  initialize();
}

VrfPart::~VrfPart() = default;

std::shared_ptr<FwDir> VrfPart::output() {
  return name_.empty() ? model().hw->l2Seg : model().hw->vrf.get(name_);
}

void VrfPart::initialize() {
  const Work work(model());
  initialized_ = true;
  if (name_.empty()) {
    model().hw->l2SegDel();
    model().hw->l2SegIs();
  } else {
    const auto output = model().hw->vrfIs(name_);
    for (const auto& [name, segment] : std::map(output->segment)) {
      if (isSegmentConfigured(model(), name_, name)) continue;
      for (const auto& other : output->segment) other.second->fromSegmentDel(name);
      output->segmentDel(name);
    }
    reconcilePrefixes();
  }
  for (const std::string& name : input_->segment.keys()) handleSegment(name);
}

void VrfPart::handleSegment(const std::string& name) {
  if (!initialized_) return;
  const Work work(model());
  const auto input = input_->segment.get(name);
  const auto part = segments_.get(name);
  if (input && !part) {
    const auto directory = output();
    if (!directory) return;
    processGlobalPrefixesForSegment(name);
    segments_.set(name, std::make_shared<SegmentPart>(*this, input, directory));
  } else if (!input && part) {
    part->cleanup();
    segments_.erase(name);
    part->unhook();
    processGlobalPrefixesForSegment(name);
  }
}

void VrfPart::reportSubscriberSide(const std::string& segment) {
  serviceSide_.erase(segment);
  subscriberSide_.set(segment, true);
  handleSubscriberSide(segment);
}

void VrfPart::forget(const std::string& segment) {
  if (subscriberSide_.erase(segment)) handleSubscriberSide(segment);
  serviceSide_.erase(segment);
}

void VrfPart::handleSubscriberSide(const std::string& name) {
  if (!model().in.capability->forwardingSegmentsPolicySupported) return;
  for (const std::string& service : serviceSide_.keys()) {
    if (const auto part = segments_.get(service)) part->updateSubscriberSegment(name);
  }
}

void VrfPart::handleForwardingSupported() {
  for (const std::string& service : serviceSide_.keys()) {
    if (!serviceSide_.has(service)) continue;
    if (const auto part = segments_.get(service)) part->handleFromSegment("forwarding-segments");
  }
}

void VrfPart::cleanup() {
  if (!initialized_) return;
  initialized_ = false;
  const Work work(model());
  for (const std::string& name : segments_.keys()) {
    const auto part = segments_.get(name);
    part->cleanup();
    segments_.erase(name);
    part->unhook();
    processGlobalPrefixesForSegment(name);
  }
  if (name_.empty()) {
    model().hw->l2SegDel();
    return;
  }
  bool held = false;
  for (const auto& config : model().enabledConfigs(root_->config().get())) {
    if (config->vrf.has(name_)) held = true;
  }
  if (!held) {
    model().hw->vrfDel(name_);
    return;
  }
  for (const Prefix& prefix : input_->prefix.keys()) releaseGlobalPrefix(prefix);
}

void VrfPart::unhook() {
  inputWatch_.end();
  capabilityWatch_.end();
}

}  // namespace Plain
