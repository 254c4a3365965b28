#include "tests/plain/Segments.h"

namespace Plain {

std::vector<Range> alignedBlocks(const Range& range) {
  std::vector<Range> blocks;
  for (unsigned start = range.first; start <= range.second;) {
    unsigned size = 1;
    while (start % (2 * size) == 0 && start + 2 * size - 1 <= range.second) size *= 2;
    blocks.emplace_back(start, start + size - 1);
    start += size;
  }
  return blocks;
}

void Root::onService(const std::string& name) {
  if (initialized_) {
    if (model_->hw->services.has(name)) {
      model_->status.serviceIs(name);
    } else {
      deleteServicePolicyRules(name);
      model_->status.serviceDel(name);
      for (const auto& [policy, seqnum] : rulesNaming(name)) takeOver(policy, seqnum);
    }
  }
  watchService(name);
}

void Root::watchService(const std::string& name) {
  const auto service = model_->hw->services.get(name);
  if (!service) {
    services_.erase(name);
    return;
  }
  if (services_.contains(name)) return;
  services_[name] = Watching(service, [this, service](const News& news) {
    if (news.what == "version") handleServiceChange(service);
  });
  handleServiceChange(service);
}

std::vector<std::pair<std::string, std::uint32_t>> Root::rulesNaming(
    const std::string& service) const {
  std::vector<std::pair<std::string, std::uint32_t>> found;
  for (const auto& [name, policy] : config_->policy.items()) {
    for (const auto& [seqnum, rule] : policy->rule) {
      if (rule.service == service) found.emplace_back(name, seqnum);
    }
  }
  return found;
}

void Root::deleteServicePolicyRules(const std::string& name) {
  for (const auto& [policy, seqnum] : rulesNaming(name)) deletePolicyRules(policy, seqnum);
}

void Root::handleServiceChange(const std::shared_ptr<FwService>& service) {
  if (!initialized_) return;
  const Work work(*model_);
  deleteServicePolicyRules(service->name);
  for (const auto& [policy, seqnum] : rulesNaming(service->name)) {
    if (service->hasRules()) {
      addServicePolicyRules(service, *config_->policy.get(policy), seqnum);
    } else {
      takeOver(policy, seqnum);
    }
  }
}

namespace {

const Range& inOrder(const Range& range) {
  if (range.first > range.second) throw Refused("a range begins above its end");
  return range;
}

}  // namespace

void Root::handleVersion(const std::string& app) {
  const Work work(*model_);
  if (model_->in.versions->version.get(app) == 0) {
    if (const auto service = model_->hw->services.get(app)) {
      service->protocolDelAll();
      model_->hw->servicesDel(app);
    }
    return;
  }
  const auto found = model_->in.applications->app.find(app);
  const Application application =
      found == model_->in.applications->app.end() ? Application() : *found->second;
  const auto setName = [&application](const char* which) {
    const auto set = application.fieldSet.find(which);
    return set == application.fieldSet.end() ? std::string() : set->second;
  };
  const auto ports = [&](const char* which) {
    const auto* const set = model_->in.applications->ports.find(setName(which));
    return set == nullptr || !set->contents ? std::vector<Range>() : *set->contents;
  };
  const auto prefixes = [&](const char* which) {
    const auto* const set = model_->in.applications->prefixes.find(setName(which));
    return set == nullptr ? std::optional<std::vector<Prefix>>() : set->contents;
  };
  const std::vector<std::pair<FwService::Ports, std::vector<Range>>> wantedPorts{
      {&FwService::dstPort, ports("dstPortFieldSet")},
      {&FwService::srcPort, ports("srcPortFieldSet")}};
  // None: no set is named, or it is missing.
  const std::vector<std::pair<FwService::Prefixes, std::optional<std::vector<Prefix>>>>
      wantedPrefixes{{&FwService::srcIpPrefix, prefixes("srcPrefixFieldSet")},
                     {&FwService::dstIpPrefix, prefixes("dstPrefixFieldSet")}};

  if (const auto service = model_->hw->services.get(app)) {
    for (const auto& [which, wanted] : wantedPorts) {
      for (const Range range : std::map((*service).*which)) {
        const bool kept = std::ranges::any_of(wanted, [&range](const Range& outer) {
          return outer.first <= range.first && outer.second >= range.second;
        });
        if (!kept) service->portDel(which, range.first);
      }
    }
    for (const auto& [which, wanted] : wantedPrefixes) {
      for (const Prefix& prefix : std::vector((*service).*which)) {
        if (wanted && std::ranges::count(*wanted, prefix) == 0) service->prefixDel(which, prefix);
      }
    }
  }
  const auto service = model_->hw->servicesIs(app);
  service->afIs(application.af);
  service->protocolDelAll();
  for (const Range& range : application.proto) service->protocolIs(inOrder(range));
  for (const auto& [which, wanted] : wantedPorts) {
    for (const Range& each : wanted) {
      const Range& range = inOrder(each);
      if (model_->in.capability->portRangeBlocksRequired) {
        for (const Range& block : alignedBlocks(range)) service->portIs(which, block);
      } else {
        service->portIs(which, range);
      }
    }
  }
  for (const auto& [which, wanted] : wantedPrefixes) {
    if (wanted) {
      for (const Prefix& prefix : *wanted) service->prefixIs(which, prefix);
    } else {
      for (const Prefix& prefix : std::vector((*service).*which)) {
        service->prefixDel(which, prefix);
      }
    }
  }
  service->versionInc();
}

}  // namespace Plain
