#include "tests/plain/Segments.h"

namespace Plain {

SegmentPart::SegmentPart(VrfPart& vrf, std::shared_ptr<Segment> input,
                         std::shared_ptr<FwDir> directory)
    : vrf_(&vrf),
      input_(std::move(input)),
      directory_(std::move(directory)),
      inputWatch_(input_,
                  [this](const News& news) {
                    if (news.what == "policy") handleFromSegment(news.key);
                    if (news.what == "fallbackPolicy") handleFallbackPolicy();
                    if (news.what == "className") handleClassMap();
                  }),
      pathsWatch_(vrf.model().in.paths, [this](const News& news) { handlePath(news.key); }) {
  if (const auto stale = directory_->find(input_->name)) removeFromSegments(stale);
  output_ = directory_->segmentIs(input_->name);
  addLinksAll(model(), *vrf_->input(), *directory_, input_->name, "");
  if (!vrf_->name().empty()) {
    for (const auto& config : model().enabledConfigs(vrf_->root().config().get())) {
      const auto other = config->vrf.get(vrf_->name());
      if (other) addLinksAll(model(), *other, *directory_, input_->name, "");
    }
  }
  handleClassMap();
  for (const std::string& path : model().in.paths->entry.keys()) handlePath(path);
  for (const auto& [from, policy] : std::map(input_->policy)) handleFromSegment(from);
  handleFallbackPolicy();
}

SegmentPart::~SegmentPart() = default;

void SegmentPart::handleFromSegment(const std::string& from) {
  if (!vrf_->root().config()->enabled) return;
  output_->fromSegmentDel(from);
  if (from == "forwarding-segments" && model().in.capability->forwardingSegmentsPolicySupported) {
    output_->fromSegmentDelAll();
    for (const std::string& name : vrf_->subscriberSide()) updateSubscriberSegment(name);
  } else {
    const auto entry = input_->policy.find(from);
    if (entry != input_->policy.end() && !entry->second.empty())
      addInterimFromSegment(model(), *input_, *directory_, *output_, from);
  }
  updateLocalData();
}

void SegmentPart::updateSubscriberSegment(const std::string& name) {
  const auto entry = input_->policy.find("forwarding-segments");
  const auto policy =
      model().hw->policy.get(entry == input_->policy.end() ? std::string() : entry->second);
  if (!policy) return;
  const auto segment = directory_->find(name);
  if (segment && segment->fromSegment.has(input_->name)) {
    output_->fromSegmentIs(name, {segment, policy});
  } else {
    output_->fromSegmentDel(name);
  }
}

void SegmentPart::updateLocalData() {
  if (output_->intf.empty()) {
    vrf_->reportServiceSide(input_->name);
  } else {
    vrf_->reportSubscriberSide(input_->name);
  }
}

void SegmentPart::handleFallbackPolicy() {
  output_->fallbackPolicyIs(model().hw->policy.get(input_->fallbackPolicy));
}

bool SegmentPart::isFromSegmentConfigured(const std::string& from) {
  for (const auto& config : model().configs()) {
    if (config == vrf_->root().config() || vrf_->name().empty()) continue;
    const auto vrf = config->vrf.get(vrf_->name());
    const auto segment = vrf ? vrf->segment.get(input_->name) : nullptr;
    if (segment && segment->policy.contains(from)) return true;
  }
  return false;
}

void SegmentPart::removeFromSegments(const std::shared_ptr<FwSegment>& output) {
  if (isSegmentConfigured(model(), vrf_->name(), input_->name)) {
    for (const std::string& from : output->fromSegment.keys()) {
      if (!isFromSegmentConfigured(from)) output->fromSegmentDel(from);
    }
    return;
  }
  deleteLinksAll(*vrf_->input(), *directory_, input_->name, "");
  for (const auto& [name, segment] : directory_->segment) {
    segment->fromSegmentDel(input_->name);  // whoever else receives from here
  }
  directory_->segmentDel(input_->name);
}

void SegmentPart::handleClassMap() {
  const std::string className = input_->className;
  output_->classNameIs(className);
  const auto classMap = vrf_->root().config()->classMap.get(className);
  if (!classMap) {
    output_->intfDelAll();
    return;
  }
  const bool isL2 = className.starts_with("__segment_");
  for (const auto& [intf, data] : classMap->intfVlanData.items()) {
    if (!model().in.intfStatus.contains(intf)) continue;
    if (isL2) {
      output_->intfIs(className, intf);
      vrf_->root().updateVlanSet(*output_, intf, *data);
    } else if (vrf_->root().isIntfInVrf(className, intf)) {
      const auto bound = output_->intfIs(className, intf);  // whole
      for (const Range& range : std::vector(bound->vlanRange)) bound->vlanRangeDel(range);
    } else {
      output_->intfDel(intf);
    }
  }
  for (const std::string& intf : output_->intf.keys()) {
    if (!classMap->intfVlanData.has(intf)) output_->intfDel(intf);
  }
  updateLocalData();
}

void SegmentPart::handlePath(const std::string& name) {
  const auto path = model().in.paths->entry.get(name);
  if (!path) {
    paths_.erase(name);
  } else if (!paths_.has(name)) {
    paths_.set(name, std::make_shared<PathPart>(*this, path));
  }
}

void SegmentPart::cleanup() {
  removeFromSegments(output_);
  for (const auto& [name, path] : paths_.items()) {
    for (const Family family : families) path->clean(family, true);
  }
  vrf_->forget(input_->name);
}

void SegmentPart::unhook() {
  inputWatch_.end();
  pathsWatch_.end();
  paths_.clear();
}

}  // namespace Plain
