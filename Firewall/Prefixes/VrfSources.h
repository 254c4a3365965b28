// What the configuration sources hold for one VRF.
#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "framework/Kiv/Dir.h"
#include "framework/Pith/Assert.h"
#include "framework/Pith/Ptr.h"
#include "model/Firewall/Config.h"
#include "model/L3/VrfName.h"

namespace Firewall {

// Calls visit(config, vrf) for each source, enabled or not, that has the VRF, in the directory's
// order, until it returns true; returns whether it did. An entity that is no source ends the
// process.
template <class Visit>
bool anyVrfOfSources(const Kiv::Dir& fwConfigDir, const L3::VrfName& name, const Visit& visit) {
  for (auto entry = fwConfigDir.entityPtrIteratorConst(); entry; ++entry) {
    const auto config = Pith::dynamicPtrCast<const Config>(entry.ptr());
    PITH_ASSERT_TEXT(config, "fwConfig");
    const Pith::Ptr<const Vrf> vrf = config->vrf(name);
    if (vrf && visit(config, vrf)) return true;
  }
  return false;
}

// The same VRF of all sources for many questions in a row: looked up at the first, and again only
// after a source, or a VRF of one, came or went. An entity that is no source ends the process.
class VrfOfSources {
 public:
  VrfOfSources(Pith::Ptr<const Kiv::Dir> fwConfigDir, L3::VrfName name)
      : fwConfigDir_(std::move(fwConfigDir)), name_(std::move(name)) {}

  // Whether any source, enabled or not, has the prefix as a global prefix. Costs the sources.
  bool haveGlobalPrefix(const Lanx::IpGenPrefix& prefix) {
    if (!isCurrent()) lookUp();
    return std::any_of(sources_.begin(), sources_.end(), [&prefix](const Source& source) {
      return source.vrf && source.vrf->prefixHas(prefix);
    });
  }

 private:
  struct Source {
    Pith::Ptr<const Config> config;
    std::uint64_t version;
    Pith::Ptr<const Vrf> vrf;
  };

  bool isCurrent() const noexcept {
    return isLookedUp_ && version_ == fwConfigDir_->version() &&
           std::all_of(sources_.begin(), sources_.end(), [](const Source& source) {
             return source.version == source.config->vrfVersion();
           });
  }
  void lookUp() {
    sources_.clear();
    for (auto entry = fwConfigDir_->entityPtrIteratorConst(); entry; ++entry) {
      const auto config = Pith::dynamicPtrCast<const Config>(entry.ptr());
      PITH_ASSERT_TEXT(config, "fwConfig");
      sources_.push_back({config, config->vrfVersion(), config->vrf(name_)});
    }
    version_ = fwConfigDir_->version();
    isLookedUp_ = true;
  }

  Pith::Ptr<const Kiv::Dir> fwConfigDir_;
  L3::VrfName name_;
  std::vector<Source> sources_;
  std::uint64_t version_ = 0;
  bool isLookedUp_ = false;
};

}  // namespace Firewall
