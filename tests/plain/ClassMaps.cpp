#include "tests/plain/Segments.h"

namespace Plain {

void Root::watchClassMap(const std::string& name) {
  const auto classMap = config_->classMap.get(name);
  if (!classMap) {
    classMaps_.erase(name);
    return;
  }
  if (classMaps_.contains(name)) return;
  const auto watch = std::make_shared<ClassMapWatch>();
  classMaps_[name] = watch;
  watch->classMap = classMap;
  for (const std::string& intf : classMap->intfVlanData.keys()) watchVlans(*watch, intf);
  watch->watching = Watching(classMap, [this, raw = watch.get()](const News& news) {
    if (news.what != "intfVlanData") return;
    handleClassMapIntf(*raw->classMap, news.key);
    watchVlans(*raw, news.key);
  });
  for (const std::string& intf : classMap->intfVlanData.keys()) handleClassMapIntf(*classMap, intf);
}

void Root::watchVlans(ClassMapWatch& watch, const std::string& intf) {
  const auto data = watch.classMap->intfVlanData.get(intf);
  if (!data) {
    watch.vlans.erase(intf);
    return;
  }
  if (watch.vlans.contains(intf)) return;
  const std::string className = watch.classMap->name;
  watch.vlans[intf] = Watching(data, [this, className, intf, data](const News& /*news*/) {
    if (!initialized_ || !model_->hw->l2Seg) return;
    for (const auto& [name, segment] : model_->hw->l2Seg->segment) {
      if (segment->className == className && segment->intf.has(intf))
        updateVlanSet(*segment, intf, *data);
    }
  });
}

void Root::handleClassMap(const std::string& name) {
  const auto classMap = config_->classMap.get(name);
  if (!classMap) {
    deleteIntfSegmentAll(name, "");
    return;
  }
  for (const std::string& intf : classMap->intfVlanData.keys()) handleClassMapIntf(*classMap, intf);
}

void Root::handleClassMapIntf(const ClassMap& classMap, const std::string& intf) {
  if (!initialized_) return;
  if (classMap.intfVlanData.has(intf)) {
    addIntfSegmentAll(classMap.name, intf);
  } else {
    deleteIntfSegmentAll(classMap.name, intf);
  }
}

void Root::addIntfSegmentAll(const std::string& className, const std::string& intf) {
  if (!model_->in.intfStatus.contains(intf)) return;
  for (const std::string& vrf : model_->hw->vrf.keys()) {
    for (const auto& [name, segment] : std::map(model_->hw->vrf.get(vrf)->segment)) {
      if (segment->className != className) continue;
      if (isIntfInVrf(className, intf)) {
        segment->intfIs(className, intf);
      } else {
        segment->intfDel(intf);
      }
      const auto vrfPart = vrfs_.get(vrf);
      const auto segmentPart = vrfPart ? vrfPart->segmentPart(name) : nullptr;
      if (segmentPart) segmentPart->updateLocalData();
    }
  }
  if (!model_->hw->l2Seg) return;
  for (const auto& [name, segment] : std::map(model_->hw->l2Seg->segment)) {
    if (segment->className != className) continue;
    segment->intfIs(className, intf);
    const auto classMap = config_->classMap.get(className);
    const auto data = classMap ? classMap->intfVlanData.get(intf) : nullptr;
    if (data) updateVlanSet(*segment, intf, *data);
  }
}

void Root::deleteIntfSegmentAll(const std::string& className, const std::string& intf) {
  std::vector<std::shared_ptr<FwDir>> directories;
  for (const auto& [name, directory] : model_->hw->vrf.items()) directories.push_back(directory);
  if (model_->hw->l2Seg) directories.push_back(model_->hw->l2Seg);
  for (const auto& directory : directories) {
    for (const auto& [name, segment] : directory->segment) {
      if (segment->className != className) continue;
      if (intf.empty()) {
        segment->intfDelAll();
      } else {
        segment->intfDel(intf);
      }
    }
  }
}

bool Root::isIntfInVrf(const std::string& className, const std::string& intf) const {
  const std::string mark = "__VRF_";
  const std::size_t start = className.find(mark);
  if (start == std::string::npos) return true;
  const std::string* const vrf = model_->in.ip->intf.find(intf);
  if (vrf == nullptr) return false;
  const std::size_t begin = start + mark.size();
  return className.substr(begin, className.find("_segment_", begin) - begin) == *vrf;
}

void Root::updateVlanSet(FwSegment& segment, const std::string& intf, const VlanSet& data) {
  const auto output = segment.intf.get(intf);
  std::vector<Range> wanted;
  for (const Range& range : data.vlanRange) {
    for (const Range& block : alignedBlocks(range)) wanted.push_back(block);
  }
  for (const Range& range : std::vector(output->vlanRange)) {
    if (std::ranges::count(wanted, range) == 0) output->vlanRangeDel(range);
  }
  for (const Range& range : wanted) output->vlanRangeIs(range);
}

}  // namespace Plain
