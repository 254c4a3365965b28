#include "tests/plain/Outputs.h"

namespace Plain {

std::string pathKey(const std::string& key) {
  std::string text;
  for (const char c : key) {
    if (c == '/') {
      text += "%2F";
    } else if (c == '%') {
      text += "%25";
    } else {
      text += c;
    }
  }
  return text;
}

std::string rangeText(const Range& range) {
  const std::string start = std::to_string(range.first);
  return range.first == range.second ? start : start + "-" + std::to_string(range.second);
}

std::string forwardTypeText(unsigned flags) {
  const std::array<std::string, 4> texts{"none", "bridged", "routed", "bridged|routed"};
  return texts.at(flags);
}

std::string Out::reference() const { return owner.expired() ? "@" : "@" + pathKey(name); }

void Out::write(char kind, const std::string& what) const {
  std::string path = what;
  std::shared_ptr<const Out> object = shared_from_this();
  while (object->log == nullptr) {
    path = object->step + "/" + path;
    object = object->owner.lock();
    if (!object) return;
  }
  object->log->push_back(std::string(1, kind) + " " + path);
}

void Out::gone(const std::shared_ptr<Out>& child) const {
  child->owner.reset();
  child->cutLinks();
  write('-', child->step);
}

void FwService::prefixIs(Prefixes which, const Prefix& prefix) {
  auto& prefixes = this->*which;
  if (std::ranges::count(prefixes, prefix) > 0) return;
  prefixes.push_back(prefix);
  write('+', std::string(nameOf(which)) + "/" + pathKey(prefix.toString()));
}

void FwService::prefixDel(Prefixes which, const Prefix& prefix) {
  if (std::erase(this->*which, prefix) > 0)
    write('-', std::string(nameOf(which)) + "/" + pathKey(prefix.toString()));
}

void FwService::portIs(Ports which, const Range& range) {
  auto& ports = this->*which;
  const auto found = ports.find(range.first);
  if (found != ports.end() && found->second == range.second) return;
  const char kind = found == ports.end() ? '+' : '~';
  ports[range.first] = range.second;
  write(kind,
        std::string(nameOf(which)) + "/" + std::to_string(range.first) + " = " + rangeText(range));
}

void FwService::portDel(Ports which, unsigned start) {
  if ((this->*which).erase(start) > 0)
    write('-', std::string(nameOf(which)) + "/" + std::to_string(start));
}

void FwService::protocolIs(const Range& range) {
  if (protocol.insert(range).second) write('+', "protocol/" + rangeText(range));
}

void FwService::protocolDelAll() {
  while (!protocol.empty()) {
    const Range first = *protocol.begin();
    protocol.erase(first);
    write('-', "protocol/" + rangeText(first));
  }
}

void FwService::versionInc() {
  ++version;
  wroteValue("version", std::to_string(version));
  tell({"version", "", {}, {}});
}

void FwPolicy::ruleIs(std::uint32_t id, const std::string& text) {
  rule[id] = text;
  write('+', "rule/" + std::to_string(id) + " = " + text);
}

void FwPolicy::ruleDel(std::uint32_t id) {
  if (rule.erase(id) > 0) write('-', "rule/" + std::to_string(id));
}

void FwPolicy::serviceRuleIs(std::uint32_t seqnum, const ServiceRule& value) {
  const auto found = serviceRule.find(seqnum);
  if (found != serviceRule.end() && found->second == value) return;
  const char kind = found == serviceRule.end() ? '+' : '~';
  serviceRule[seqnum] = value;
  write(kind, "serviceRule/" + std::to_string(seqnum) + " = " + value.text());
}

void FwPolicy::serviceRuleDel(std::uint32_t seqnum) {
  if (serviceRule.erase(seqnum) > 0) write('-', "serviceRule/" + std::to_string(seqnum));
}

void FwIntf::vlanRangeIs(const Range& range) {
  if (std::ranges::count(vlanRange, range) > 0) return;
  vlanRange.push_back(range);
  write('+', "vlanRange/" + rangeText(range));
}

void FwIntf::vlanRangeDel(const Range& range) {
  if (std::erase(vlanRange, range) > 0) write('-', "vlanRange/" + rangeText(range));
}

void FwSegment::subnetsIs(const Subnet& subnet) {
  if (hasSubnet(subnet)) return;
  subnets.push_back(subnet);
  write('+', "subnets/" + pathKey(subnet.toString()) + " = true");
}

void FwSegment::subnetsDel(const Subnet& subnet) {
  if (std::erase(subnets, subnet) > 0) write('-', "subnets/" + pathKey(subnet.toString()));
}

std::shared_ptr<FwIntf> FwSegment::intfIs(const std::string& boundBy, const std::string& key) {
  auto entry = intf.get(key);
  if (!entry) {
    entry = child<FwIntf>("intfVlanRangeSet", key);
    intf.set(key, entry);
    write('+', entry->step);
  }
  entry->classNameIs(boundBy);
  return entry;
}

void FwSegment::intfDel(const std::string& key) {
  const auto entry = intf.get(key);
  if (!entry) return;
  intf.erase(key);
  gone(entry);
}

void FwSegment::intfDelAll() {
  for (const std::string& key : intf.keys()) intfDel(key);
}

void FwSegment::fromSegmentIs(const std::string& from, const Link& link) {
  const Link* const found = fromSegment.find(from);
  if (found != nullptr && *found == link) return;
  const char kind = found == nullptr ? '+' : '~';
  fromSegment.set(from, link);
  write(kind, "fromSegment/" + pathKey(from) + " = " + link.text());
}

void FwSegment::fromSegmentDel(const std::string& from) {
  if (fromSegment.erase(from)) write('-', "fromSegment/" + pathKey(from));
}

void FwSegment::fromSegmentDelAll() {
  for (const std::string& from : fromSegment.keys()) fromSegmentDel(from);
}

void FwSegment::fallbackPolicyIs(const std::shared_ptr<FwPolicy>& policy) {
  setValue(fallbackPolicy, policy, "fallbackPolicy", policy ? policy->reference() : "");
}

void FwSegment::cutLinks() {
  fromSegment.clear();
  fallbackPolicy = nullptr;
}

std::shared_ptr<FwSegment> FwDir::segmentIs(const std::string& key) {
  if (const auto present = find(key)) return present;
  auto made = child<FwSegment>("segment", key);
  segment[key] = made;
  write('+', made->step);
  return made;
}

void FwDir::segmentDel(const std::string& key) {
  const auto leaving = find(key);
  if (!leaving) return;
  segment.erase(key);
  gone(leaving);
}

void FwDir::prefixListIs(const Prefix& prefix, const std::string& value) {
  const std::string* const found = prefixList.find(prefix);
  if (found != nullptr && *found == value) return;
  const char kind = found == nullptr ? '+' : '~';
  prefixList.set(prefix, value);
  write(kind, "prefixList/" + pathKey(prefix.toString()) + " = " + value);
}

void FwDir::prefixListDel(const Prefix& prefix) {
  if (prefixList.erase(prefix)) write('-', "prefixList/" + pathKey(prefix.toString()));
}

void FwDir::cutLinks() {
  for (const auto& each : segment) each.second->cutLinks();
}

void HwConfig::forwardTypeIs(unsigned value) {
  setValue(forwardType, value, "forwardType", forwardTypeText(value));
}

std::shared_ptr<FwDir> HwConfig::vrfIs(const std::string& key) {
  if (const auto present = vrf.get(key)) return present;
  auto made = child<FwDir>("vrf", key);
  vrf.set(key, made);
  write('+', made->step);
  return made;
}

void HwConfig::vrfDel(const std::string& key) {
  const auto leaving = vrf.get(key);
  if (!leaving) return;
  vrf.erase(key);
  gone(leaving);
}

void HwConfig::vrfDelAll() {
  for (const std::string& key : vrf.keys()) vrfDel(key);
}

void HwConfig::l2SegIs() {
  l2Seg = child<FwDir>("l2Seg", "l2SegDir");
  l2Seg->step = "l2Seg";
  write('+', "l2Seg");
}

void HwConfig::l2SegDel() {
  const auto leaving = std::exchange(l2Seg, nullptr);
  if (leaving) gone(leaving);
}

std::shared_ptr<FwPolicy> HwConfig::policyIs(const std::string& key) {
  if (const auto present = policy.get(key)) return present;
  auto made = child<FwPolicy>("policy", key);
  policy.set(key, made);
  write('+', made->step);
  return made;
}

void HwConfig::policyDel(const std::string& key) {
  const auto leaving = policy.get(key);
  if (!leaving) return;
  policy.erase(key);
  gone(leaving);
}

void HwConfig::policyDelAll() {
  for (const std::string& key : policy.keys()) policyDel(key);
}

std::shared_ptr<FwService> HwConfig::servicesIs(const std::string& key) {
  if (const auto present = services.get(key)) return present;
  auto made = child<FwService>("services", key);
  services.set(key, made);
  write('+', made->step);
  tell({"services", key, {}, {}});
  return made;
}

void HwConfig::servicesDel(const std::string& key) {
  const auto leaving = services.get(key);
  if (!leaving) return;
  services.erase(key);
  gone(leaving);
  tell({"services", key, {}, {}});
}

void HwConfig::servicesDelAll() {
  for (const std::string& key : services.keys()) servicesDel(key);
}

void Status::serviceIs(const std::string& name) {
  if (service.has(name)) return;
  service.set(name, true);
  log->push_back("+ status/service/" + pathKey(name));
}

void Status::serviceDel(const std::string& name) {
  if (service.erase(name)) log->push_back("- status/service/" + pathKey(name));
}

namespace {

void dumpSegment(Lines& lines, const std::string& path, const FwSegment& segment) {
  lines.push_back(path + " = ");
  lines.push_back(path + "/className = " + segment.className);
  lines.push_back(path + "/fallbackPolicy = " +
                  (segment.fallbackPolicy ? segment.fallbackPolicy->reference() : ""));
  for (const Subnet& subnet : segment.subnets) {
    lines.push_back(path + "/subnets/" + pathKey(subnet.toString()) + " = true");
  }
  for (const auto& [key, entry] : segment.intf.items()) {
    const std::string below = path + "/" + entry->step;
    lines.push_back(below + " = ");
    lines.push_back(below + "/className = " + entry->className);
    for (const Range& range : entry->vlanRange) {
      lines.push_back(below + "/vlanRange/" + rangeText(range) + " = ");
    }
  }
  for (const auto& [from, link] : segment.fromSegment.items()) {
    lines.push_back(path + "/fromSegment/" + pathKey(from) + " = " + link.text());
  }
}

void dumpDirectory(Lines& lines, const std::string& path, const FwDir& directory) {
  for (const auto& [key, segment] : directory.segment) {
    dumpSegment(lines, path + "/" + segment->step, *segment);
  }
  for (const auto& [prefix, segment] : directory.prefixList.items()) {
    lines.push_back(path + "/prefixList/" + pathKey(prefix.toString()) + " = " + segment);
  }
}

void dumpService(Lines& lines, const FwService& service) {
  const std::string path = service.step;
  lines.push_back(path + " = ");
  lines.push_back(path + "/af = " + service.af);
  lines.push_back(path + "/version = " + std::to_string(service.version));
  for (const FwService::Prefixes which : {&FwService::srcIpPrefix, &FwService::dstIpPrefix}) {
    for (const Prefix& prefix : service.*which) {
      lines.push_back(path + "/" + FwService::nameOf(which) + "/" + pathKey(prefix.toString()) +
                      " = ");
    }
  }
  for (const Range& range : service.protocol) {
    lines.push_back(path + "/protocol/" + rangeText(range) + " = ");
  }
  for (const FwService::Ports which : {&FwService::srcPort, &FwService::dstPort}) {
    for (const Range range : service.*which) {
      lines.push_back(path + "/" + FwService::nameOf(which) + "/" + std::to_string(range.first) +
                      " = " + rangeText(range));
    }
  }
}

}  // namespace

Lines HwConfig::dump() const {
  Lines lines{std::string("active = ") + (active ? "true" : "false"),
              std::string("updateInProgress = ") + (updateInProgress ? "true" : "false"),
              std::string("defaultPolicyDrop = ") + (defaultPolicyDrop ? "true" : "false"),
              "forwardType = " + forwardTypeText(forwardType)};
  for (const auto& [key, each] : vrf.items()) {
    lines.push_back(each->step + " = ");
    dumpDirectory(lines, each->step, *each);
  }
  if (l2Seg) {
    lines.push_back("l2Seg = l2SegDir");
    dumpDirectory(lines, "l2Seg", *l2Seg);
  }
  for (const auto& [key, each] : policy.items()) {
    lines.push_back(each->step + " = ");
    for (const auto& [id, text] : each->rule) {
      lines.push_back(each->step + "/rule/" + std::to_string(id) + " = " + text);
    }
    for (const auto& [seqnum, rule] : each->serviceRule) {
      lines.push_back(each->step + "/serviceRule/" + std::to_string(seqnum) + " = " + rule.text());
    }
  }
  for (const auto& [key, each] : services.items()) dumpService(lines, *each);
  std::ranges::sort(lines);
  return lines;
}

}  // namespace Plain
