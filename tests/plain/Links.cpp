#include "tests/plain/Model.h"

namespace Plain {

bool isSegmentConfigured(const Model& model, const std::string& vrf, const std::string& segment) {
  if (vrf.empty()) return false;
  for (const auto& config : model.configs()) {
    const auto input = config->vrf.get(vrf);
    if (input && input->segment.has(segment)) return true;
  }
  return false;
}

void addInterimFromSegment(Model& model, const Segment& segment, FwDir& directory,
                           FwSegment& target, const std::string& from) {
  const auto entry = segment.policy.find(from);
  const auto source = directory.find(from);
  const auto policy =
      model.hw->policy.get(entry == segment.policy.end() ? std::string() : entry->second);
  if (source && policy) target.fromSegmentIs(from, {source, policy});
}

void addLinksAll(Model& model, const SegmentDir& input, FwDir& output, const std::string& from,
                 const std::string& policy) {
  for (const auto& [name, segment] : input.segment.items()) {
    const auto target = output.find(name);
    if (!target) continue;
    if (!policy.empty() && segment->fallbackPolicy == policy)
      target->fallbackPolicyIs(model.hw->policy.get(policy));
    for (const auto& [entry, entryPolicy] : segment->policy) {
      if ((!from.empty() && entry == from) || (!policy.empty() && entryPolicy == policy))
        addInterimFromSegment(model, *segment, output, *target, entry);
    }
  }
}

void deleteLinksAll(const SegmentDir& input, FwDir& output, const std::string& from,
                    const std::string& policy) {
  for (const auto& [name, segment] : input.segment.items()) {
    const auto target = output.find(name);
    if (!target) continue;
    for (const auto& [entry, entryPolicy] : segment->policy) {
      if ((!from.empty() && entry == from) || (!policy.empty() && entryPolicy == policy))
        target->fromSegmentDel(entry);
    }
    if (!policy.empty() && segment->fallbackPolicy == policy) target->fallbackPolicyIs(nullptr);
  }
}

}  // namespace Plain
