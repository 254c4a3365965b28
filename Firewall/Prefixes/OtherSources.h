// What the lists of one segment hold in the enabled sources other than its own: it stays in the
// output when the segment leaves with its source.
#pragma once

#include <algorithm>
#include <vector>

#include "Firewall/ConfigSources.h"
#include "Firewall/Prefixes/MatchListConfigPathSm.h"
#include "Firewall/Prefixes/MatchListFamily.h"
#include "framework/Kiv/Collections.h"

namespace Firewall {

// Lists is a family of MatchListFamily.h.
template <class Lists>
class OtherSources {
 public:
  explicit OtherSources(const MatchListConfigPathSmAttributes& at) {
    if (!at.fwVrf) return;
    const L3::VrfName vrfKey(at.fwVrf->name());
    anySource(*at.fwConfigDir, [&](const Pith::String&, const Config::PtrConst& config) {
      const Vrf::PtrConst vrf = config->enabled() ? config->vrf(vrfKey) : nullptr;
      const Segment::PtrConst segment = vrf ? vrf->segment(at.mlSegmentName) : nullptr;
      if (segment && segment != at.inSegment) add(at, *segment);
      return false;
    });
  }

  // Match lists hold exactly the subnet, host bits and all.
  bool hold(const Lanx::IpGenAddrWithMask& subnet) const {
    const typename Lists::Subnet typed = Lists::typed(subnet);
    return permitted_.has(typed) ||
           std::any_of(matchLists_.begin(), matchLists_.end(),
                       [&typed](const auto& list) { return list->subnetsHas(typed); });
  }

 private:
  void add(const MatchListConfigPathSmAttributes& at, const Segment& segment) {
    // is() raises nothing: a meaningless choice in another source must not keep this one from
    // leaving.
    const ListSource& source = Lists::source(segment);
    if (source.is(ListSource::Alternative::matchList)) {
      anyMatchList<Lists>(*at.matchListConfigDir, source.name(),
                          [this](const Pith::String&, const auto& list) {
                            matchLists_.push_back(list);
                            return false;
                          });
    }
    if (!source.is(ListSource::Alternative::prefixList)) return;
    if (const auto list = Lists::prefixList(*at.aclListConfig, source.name())) {
      for (const auto& [seqnum, entry] : Lists::entries(*list)) {
        if (entry.action == Acl::Action::permit) permitted_.insert(entry.prefix);
      }
    }
  }

  std::vector<Pith::Ptr<const typename Lists::MatchListConfig>> matchLists_;
  Kiv::HashSet<typename Lists::Subnet> permitted_;
};

}  // namespace Firewall
