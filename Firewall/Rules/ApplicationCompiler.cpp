#include "Firewall/Rules/ApplicationCompiler.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "Firewall/Trace.h"
#include "framework/Kiv/AllSteps.h"
#include "framework/Lanx/RangeMaskGen.h"

namespace Firewall {

namespace {

using Classification::FieldSetConfig;
using PortSet = Classification::FieldSetL4PortSubConfig;
using PrefixSet = Classification::FieldSetIpPrefixSubConfig;

constexpr Twinlog::Function fn("void Firewall::RootSm::handleVersionForAppProfile(const String&)");

// What differs between the two sides of a service.
struct DstPorts {
  static constexpr const char* evaluating = "Evaluating dport sub range%s";
  static constexpr const char* removing = "Removing dport sub range %s";
  static constexpr const char* addingSet = " Adding dstPortFieldSet %s";
  static constexpr const char* addingRange = " Adding dstPort range:%s";
  static constexpr const char* addedBlock = " Added dstPort sub range: low %s high %s";
  static constexpr const char* addedRange = " Added dstPort sub range: start %s end %s";
  static const auto& of(const FwService& service) { return service.dstPort(); }
  static void add(FwService& service, const PortRange& range) { service.dstPortIs(range); }
  static void remove(FwService& service, std::uint16_t start) { service.dstPortDel(start); }
  static void clear(FwService& service) { service.dstPortDelAll(); }
};

struct SrcPorts {
  static constexpr const char* evaluating = "Evaluating sport sub range%s";
  static constexpr const char* removing = "Removing sport sub range %s";
  static constexpr const char* addingSet = " Adding srcPortFieldSet %s";
  static constexpr const char* addingRange = " Adding srcPort range :%s";
  static constexpr const char* addedBlock = " Added srcPort sub range: low %s high %s";
  static constexpr const char* addedRange = " Added srcPort sub range: start %s end %s";
  static const auto& of(const FwService& service) { return service.srcPort(); }
  static void add(FwService& service, const PortRange& range) { service.srcPortIs(range); }
  static void remove(FwService& service, std::uint16_t start) { service.srcPortDel(start); }
  static void clear(FwService& service) { service.srcPortDelAll(); }
};

struct SrcPrefixes {
  static constexpr const char* evaluating = "Evaluating sip %s";
  static constexpr const char* removed = "Removed sip %s";
  static const auto& of(const FwService& service) { return service.srcIpPrefix(); }
  static void add(FwService& service, const Lanx::IpGenPrefix& ip) { service.srcIpPrefixIs(ip); }
  static void remove(FwService& service, const Lanx::IpGenPrefix& ip) {
    service.srcIpPrefixDel(ip);
  }
  static void clear(FwService& service) { service.srcIpPrefixDelAll(); }
};

struct DstPrefixes {
  static constexpr const char* evaluating = "Evaluating dip %s";
  static constexpr const char* removed = "Removed dip %s";
  static const auto& of(const FwService& service) { return service.dstIpPrefix(); }
  static void add(FwService& service, const Lanx::IpGenPrefix& ip) { service.dstIpPrefixIs(ip); }
  static void remove(FwService& service, const Lanx::IpGenPrefix& ip) {
    service.dstIpPrefixDel(ip);
  }
  static void clear(FwService& service) { service.dstIpPrefixDelAll(); }
};

// The sets that a profile names; null where it names none, or one that does not exist.
struct FieldSets {
  PortSet::PtrConst dstPorts;
  PortSet::PtrConst srcPorts;
  PrefixSet::PtrConst srcPrefixes;
  PrefixSet::PtrConst dstPrefixes;
};

PortSet::PtrConst portSet(const FieldSetConfig& config, const Pith::String& name) {
  const auto set = name.empty() ? nullptr : config.fieldSetL4Port(name);
  return set ? set->subConfig() : nullptr;
}

PrefixSet::PtrConst prefixSet(const FieldSetConfig& config, const Pith::String& name) {
  const auto set = name.empty() ? nullptr : config.fieldSetIpPrefix(name);
  return set ? set->subConfig() : nullptr;
}

// Tells which ranges lie within a published range. A published range whose start is above its end
// contains none.
class PublishedPorts {
 public:
  explicit PublishedPorts(const PortSet& set) {
    for (const Classification::PortRange& range : set.ports()) ranges_.push_back(range);
    std::sort(ranges_.begin(), ranges_.end());
    std::uint16_t highest = 0;
    for (auto& range : ranges_) range.end = highest = std::max(highest, range.end);
  }

  bool contain(const PortRange& range) const {
    const auto behind = std::upper_bound(
        ranges_.begin(), ranges_.end(), range.start(),
        [](std::uint16_t start, const auto& other) { return start < other.start; });
    return behind != ranges_.begin() && std::prev(behind)->end >= range.end();
  }

 private:
  // By start; each with the highest end up to there.
  std::vector<Classification::PortRange> ranges_;
};

template <class Side>
void removeStalePorts(FwService& service, const PortSet::PtrConst& set) {
  if (!set) {
    Side::clear(service);
    return;
  }
  const PublishedPorts published(*set);
  for (const auto& entry : Side::of(service)) {
    const PortRange range = entry.value;
    TWINLOG_FN(facility, 3, fn, Side::evaluating, range);
    if (published.contain(range)) continue;
    TWINLOG_FN(facility, 3, fn, Side::removing, range);
    Side::remove(service, range.start());
  }
}

template <class Side>
void removeStalePrefixes(FwService& service, const PrefixSet::PtrConst& set) {
  if (!set) return;  // addPrefixes() empties them
  for (const Lanx::IpGenPrefix& entry : Side::of(service)) {
    const Lanx::IpGenPrefix prefix = entry;
    TWINLOG_FN(facility, 3, fn, Side::evaluating, prefix);
    if (set->prefixesHas(prefix)) continue;
    TWINLOG_FN(facility, 3, fn, Side::removed, prefix);
    Side::remove(service, prefix);
  }
}

template <class Side>
void addPorts(FwService& service, const PortSet::PtrConst& set, const Pith::String& setName,
              bool asBlocks) {
  if (!set) return;
  TWINLOG_FN(facility, 8, fn, Side::addingSet, setName);
  std::vector<Lanx::RangeMaskGen<std::uint16_t>::Entry> blocks;
  for (const Classification::PortRange& entry : set->ports()) {
    const Classification::PortRange published = entry;
    TWINLOG_FN(facility, 8, fn, Side::addingRange, published);
    const PortRange range(published.start, published.end);
    if (!asBlocks) {
      TWINLOG_FN(facility, 8, fn, Side::addedRange, range.start(), range.end());
      Side::add(service, range);
      continue;
    }
    blocks.clear();
    Lanx::RangeMaskGen<std::uint16_t>::run(range.start(), range.end(), blocks);
    for (const auto& block : blocks) {
      TWINLOG_FN(facility, 8, fn, Side::addedBlock, block.low, block.high);
      Side::add(service, PortRange(block.low, block.high));
    }
  }
}

template <class Side>
void addPrefixes(FwService& service, const PrefixSet::PtrConst& set) {
  if (!set) {
    Side::clear(service);
    return;
  }
  for (const Lanx::IpGenPrefix& entry : set->prefixes()) {
    const Lanx::IpGenPrefix prefix = entry;
    Side::add(service, prefix);
  }
}

// Whole each time, where the rest is kept by difference.
void rebuildProtocols(FwService& service, const Classification::AppConfig::PtrConst& app) {
  service.protocolDelAll();
  TWINLOG_FN(facility, 8, fn, " Adding proto ranges ");
  if (!app) return;
  for (const Classification::ProtocolRange& entry : app->proto()) {
    const Classification::ProtocolRange published = entry;
    TWINLOG_FN(facility, 8, fn, ":%s", published);
    service.protocolIs(ProtocolRange(published.start, published.end));
  }
}

}  // namespace

void ApplicationCompiler::handleVersionForAppProfile(const Pith::String& name) const {
  TWINLOG_FN(facility, 8, fn, " appName %s", name);
  if (!stage_.isWorking()) return;
  ActiveWorkManager::Handle work(at_.activeWorkManager);
  const std::uint32_t* const version = at_.appRecStatus->versionForAppProfile(name);
  const FwService::Ptr known = at_.outFirewallConfig->services(name);
  if (version == nullptr || *version == 0) {
    Kiv::AllSteps steps;
    if (known) {
      steps.run([&] { known->protocolDelAll(); });
      steps.run([&] { at_.outFirewallConfig->servicesDel(name); });
    }
    steps.run([&] { work.close(); });
    return;
  }

  const Classification::AppConfig::PtrConst app = at_.appRecConfig->app(name);
  FieldSets sets;
  if (app) {
    sets = {portSet(*at_.fieldSetConfig, app->dstPortFieldSet()),
            portSet(*at_.fieldSetConfig, app->srcPortFieldSet()),
            prefixSet(*at_.fieldSetConfig, app->srcPrefixFieldSet()),
            prefixSet(*at_.fieldSetConfig, app->dstPrefixFieldSet())};
  }
  if (known) {
    removeStalePorts<DstPorts>(*known, sets.dstPorts);
    removeStalePorts<SrcPorts>(*known, sets.srcPorts);
    removeStalePrefixes<SrcPrefixes>(*known, sets.srcPrefixes);
    removeStalePrefixes<DstPrefixes>(*known, sets.dstPrefixes);
  }

  TWINLOG_FN(facility, 8, fn, " Adding service config for appName %s", name);
  const FwService::Ptr service = at_.outFirewallConfig->servicesIs(name);
  service->afIs(app ? app->af() : Classification::AddressFamily::unspecified);
  rebuildProtocols(*service, app);
  const bool asBlocks = at_.hwCapability->portRangeBlocksRequired();
  if (app) {
    addPorts<DstPorts>(*service, sets.dstPorts, app->dstPortFieldSet(), asBlocks);
    addPorts<SrcPorts>(*service, sets.srcPorts, app->srcPortFieldSet(), asBlocks);
  }
  addPrefixes<SrcPrefixes>(*service, sets.srcPrefixes);
  addPrefixes<DstPrefixes>(*service, sets.dstPrefixes);
  service->versionInc(1);
  work.close();
}

}  // namespace Firewall
