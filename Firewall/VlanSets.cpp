#include "Firewall/VlanSets.h"

#include <cstdint>
#include <vector>

#include "Firewall/Trace.h"
#include "framework/Kiv/AllSteps.h"
#include "framework/Kiv/Collections.h"
#include "framework/Lanx/RangeMaskGen.h"
#include "framework/Pith/Assert.h"

namespace Firewall {

void updateVlanSet(const Pith::Ptr<FwSegment>& fwSegment,
                   const Pith::Ptr<const IntfVlanRangeSet>& intfVlanData) {
  static constexpr Twinlog::Function fn(
      "void Firewall::RootSm::updateVlanSet(const Ptr&, const PtrConst&)");
  TWINLOG_FN(facility, 8, fn, " className: %s intf: %s", fwSegment->className(),
             intfVlanData->intfId().shortName());
  const auto output = fwSegment->intfVlanRangeSet(intfVlanData->intfId());
  PITH_ASSERT_TEXT(output, "fwSegment->intfVlanRangeSetHas( cliIntfVlanData->intfId() )");

  // Whole before the first write: a range that is none leaves the output as it was.
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
