#include "Firewall/Segments/IntfBinding.h"

#include <cstdint>
#include <vector>

#include "Firewall/Segments/ClassMapName.h"
#include "Firewall/Trace.h"
#include "framework/Kiv/AllSteps.h"
#include "framework/Kiv/Collections.h"
#include "framework/Lanx/RangeMaskGen.h"
#include "framework/Pith/Assert.h"

namespace Firewall {

Pith::Ptr<FwIntfVlanRangeSet> bindVrfIntf(const Pith::Ptr<FwSegment>& fwSegment,
                                          const Pith::String& className, const Lanx::IntfId& intf,
                                          const Pith::Ptr<const Ip::Status>& ipStatus) {
  if (doCheckIntfInVrf(className, intf, ipStatus)) {
    return fwSegment->intfVlanRangeSetIs(className, intf);
  }
  fwSegment->intfVlanRangeSetDel(intf);
  return nullptr;
}

void bindL2Intf(const Pith::Ptr<FwSegment>& fwSegment, const Pith::String& className,
                const Lanx::IntfId& intf, const Pith::Ptr<const IntfVlanRangeSet>& intfVlanData) {
  fwSegment->intfVlanRangeSetIs(className, intf);
  if (intfVlanData) updateVlanSet(fwSegment, intfVlanData);
}

void updateVlanSet(const Pith::Ptr<FwSegment>& fwSegment,
                   const Pith::Ptr<const IntfVlanRangeSet>& intfVlanData) {
  FIREWALL_ENTRY("void Firewall::RootSm::updateVlanSet(const Ptr&, const PtrConst&)",
                 " className: %s intf: %s", fwSegment->className(),
                 intfVlanData->intfId().shortName());
  const auto output = fwSegment->intfVlanRangeSet(intfVlanData->intfId());
  PITH_ASSERT_TEXT(output, "fwSegment->intfVlanRangeSetHas( cliIntfVlanData->intfId() )");

  // All blocks are made before the first write, so that a range error leaves the output as it was.
  Kiv::HashSet<VlanRange> wanted;
  std::vector<Lanx::RangeMaskGen<std::uint16_t>::Entry> blocks;
  for (const VlanRange& range : intfVlanData->vlanRange()) {
    blocks.clear();
    Lanx::RangeMaskGen<std::uint16_t>::run(range.first(), range.second(), blocks);
    for (const auto& block : blocks) wanted.insert(VlanRange(block.low, block.high));
  }
  Kiv::AllSteps steps;
  for (const VlanRange range : output->vlanRange()) {
    if (!wanted.has(range)) steps.run([&] { output->vlanRangeDel(range); });
  }
  for (const VlanRange& range : wanted) steps.run([&] { output->vlanRangeIs(range); });
}

}  // namespace Firewall
