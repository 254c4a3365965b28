#include "Firewall/Segments/SegmentLinks.h"

#include "Firewall/ConfigSources.h"
#include "Firewall/Trace.h"
#include "framework/Kiv/AllSteps.h"
#include "model/L3/VrfName.h"

namespace Firewall {

namespace {

// The output's policy; null when it has none of that name, and for the empty name.
Pith::Ptr<FwPolicy> policyNamed(HwConfig& hwConfig, const Pith::String& name) {
  return name.empty() ? nullptr : hwConfig.policy(name);
}

}  // namespace

void addFallbackPolicy(const Pith::Ptr<HwConfig>& hwConfig, const Pith::Ptr<FwSegment>& target,
                       const Pith::String& policyName) {
  FIREWALL_ENTRY("void Firewall::addFallbackPolicy(const Ptr&, const Ptr&, const String&)", ": %s",
                 policyName);
  target->fallbackPolicyIs(policyNamed(*hwConfig, policyName));
}

void deleteFallbackPolicy(const Pith::Ptr<FwSegment>& target) {
  FIREWALL_ENTRY("void Firewall::deleteFallbackPolicy(const Ptr&)", ": %s", target);
  target->fallbackPolicyIs(nullptr);
}

void addInterimFromSegment(const Pith::Ptr<const Segment>& segment,
                           const Pith::Ptr<HwConfig>& hwConfig,
                           const Pith::Ptr<FwSegmentDir>& fwSegmentDir,
                           const Pith::Ptr<FwSegment>& target, const Pith::String& from) {
  FIREWALL_ENTRY(
      "void Firewall::addInterimFromSegment(const PtrConst&, const Ptr&, const Ptr&, const Ptr&, "
      "const String&)",
      ": %s, %s", target, from);
  const Pith::String* const named = segment->policy(from);
  const Pith::String policyName = named == nullptr ? Pith::String() : *named;
  const Pith::Ptr<FwSegment> source = fwSegmentDir->segment(from);
  const Pith::Ptr<FwPolicy> policy = policyNamed(*hwConfig, policyName);
  if (source && policy) {
    TWINLOG(facility, 6, fn, "Add segment entry:%s from%s policy%s", target, from, policyName);
    target->fromSegmentIs(from, source, policy);
  } else {
    TWINLOG(facility, 7, fn, "FromSegment or Policy is not available:%s, %s", from, policyName);
  }
  TWINLOG_FN(facility, 7, fn, " return");
}

void deleteInterimFromSegment(const Pith::Ptr<FwSegmentDir>& /*fwSegmentDir*/,
                              const Pith::Ptr<FwSegment>& target, const Pith::String& from) {
  FIREWALL_ENTRY("void Firewall::deleteInterimFromSegment(const Ptr&, const Ptr&, const String&)",
                 " fromSegment:%s", from);
  const FwFromSegment* const link = target->fromSegment(from);
  if (link == nullptr) {
    TWINLOG_FN(facility, 7, fn, " return");
    return;
  }
  TWINLOG(facility, 6, fn, "Delete segment entry:%s from%s policy%s", target, from, link->policy);
  target->fromSegmentDel(from);
}

namespace {

// Calls use(segment, target) for each segment that names `from` or the policy, in the order of the
// directory, and has an output. What a call changes is seen by those that follow.
template <class Use>
void eachDependent(const SegmentDir& segmentDir, FwSegmentDir& fwSegmentDir,
                   const Pith::String& from, const Pith::String& policyName, const Use& use) {
  for (auto dependent = segmentDir.segmentNaming(from, policyName, 0); dependent;
       dependent = segmentDir.segmentNaming(from, policyName, dependent->place)) {
    const Pith::Ptr<FwSegment> target = fwSegmentDir.segment(dependent->segment->name());
    if (target) use(dependent->segment, target);
  }
}

// Calls use(from-segment's name) for each entry of the segment that names `from` or the policy, in
// the order of the names.
template <class Use>
void eachEntry(const Segment& segment, const Pith::String& from, const Pith::String& policyName,
               const Use& use) {
  if (policyName.empty()) {
    if (segment.policyHas(from)) use(from);
    return;
  }
  for (const auto& entry : segment.policy()) {
    if (entry.value != policyName && (from.empty() || entry.key != from)) continue;
    const Pith::String name = entry.key;
    use(name);
  }
}

}  // namespace

void addInterFromSegAndFbPolicyAll(const Pith::Ptr<const SegmentDir>& segmentDir,
                                   const Pith::Ptr<HwConfig>& hwConfig,
                                   const Pith::Ptr<FwSegmentDir>& fwSegmentDir,
                                   const Pith::String& from, const Pith::String& policyName) {
  FIREWALL_ENTRY(
      "void Firewall::addInterFromSegAndFbPolicyAll(const PtrConst&, const Ptr&, const Ptr&, "
      "const String&, const String&)",
      ": %s, %s", from, policyName);
  eachDependent(*segmentDir, *fwSegmentDir, from, policyName,
                [&](const auto& segment, const auto& target) {
                  if (!policyName.empty() && segment->fallbackPolicy() == policyName) {
                    addFallbackPolicy(hwConfig, target, policyName);
                  }
                  eachEntry(*segment, from, policyName, [&](const Pith::String& name) {
                    addInterimFromSegment(segment, hwConfig, fwSegmentDir, target, name);
                  });
                });
}

void deleteInterFromSegAndFbPolicyAll(const Pith::Ptr<const SegmentDir>& segmentDir,
                                      const Pith::Ptr<HwConfig>& /*hwConfig*/,
                                      const Pith::Ptr<FwSegmentDir>& fwSegmentDir,
                                      const Pith::String& from, const Pith::String& policyName) {
  FIREWALL_ENTRY(
      "void Firewall::deleteInterFromSegAndFbPolicyAll(const PtrConst&, const Ptr&, const Ptr&, "
      "const String&, const String&)",
      ": %s, %s", from, policyName);
  Kiv::AllSteps steps;  // a link to what is about to go must not stay
  eachDependent(*segmentDir, *fwSegmentDir, from, policyName,
                [&](const auto& segment, const auto& target) {
                  eachEntry(*segment, from, policyName, [&](const Pith::String& name) {
                    steps.run([&] { deleteInterimFromSegment(fwSegmentDir, target, name); });
                  });
                  if (!policyName.empty() && segment->fallbackPolicy() == policyName) {
                    steps.run([&] { deleteFallbackPolicy(target); });
                  }
                });
}

}  // namespace Firewall
