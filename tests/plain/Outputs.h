// The outputs of the plain model, and the lines that a recorder of writes would have written:
//
//   + vrf/red/segment/a/subnets/10.0.0.0%2F8 = true
//
// Each object writes its own line when it changes, as long as it hangs in the tree; what left the
// tree can be written on, unseen. Its references to others are cut when it leaves.
#pragma once

#include <cstdint>

#include "tests/plain/Inputs.h"

namespace Plain {

using Lines = std::vector<std::string>;

std::string pathKey(const std::string& key);
std::string rangeText(const Range& range);

class Out : public std::enable_shared_from_this<Out> {
 public:
  Out() = default;
  Out(const Out&) = delete;
  Out& operator=(const Out&) = delete;
  virtual ~Out() = default;

  // "@name", and "@" when it has left its owner.
  std::string reference() const;
  virtual void cutLinks() {}

  std::string name;
  std::weak_ptr<Out> owner;
  std::string step;  // below the owner: "segment/a"
  Lines* log = nullptr;

 protected:
  void write(char kind, const std::string& what) const;
  void wroteValue(const std::string& what, const std::string& text) const {
    write('~', what + " = " + text);
  }
  template <class T>
  std::shared_ptr<T> child(const std::string& attribute, const std::string& key) {
    auto made = std::make_shared<T>();
    made->name = key;
    made->step = attribute + "/" + pathKey(key);
    made->owner = weak_from_this();
    return made;
  }
  // It has been taken out of its collection.
  void gone(const std::shared_ptr<Out>& child) const;
  // A set, a map or a value: writes the line where the write changes anything.
  template <class T>
  void setValue(T& member, const T& value, const std::string& what, const std::string& text) {
    if (member == value) return;
    member = value;
    wroteValue(what, text);
  }
};

struct FwService : Out, Watched {
  std::vector<Prefix> srcIpPrefix;
  std::vector<Prefix> dstIpPrefix;
  std::set<Range> protocol;
  std::map<unsigned, unsigned> dstPort;  // start to end
  std::map<unsigned, unsigned> srcPort;
  std::string af = "unspecified";
  std::uint32_t version = 0;

  using Prefixes = std::vector<Prefix> FwService::*;
  using Ports = std::map<unsigned, unsigned> FwService::*;
  static const char* nameOf(Prefixes which) {
    return which == &FwService::srcIpPrefix ? "srcIpPrefix" : "dstIpPrefix";
  }
  static const char* nameOf(Ports which) {
    return which == &FwService::srcPort ? "srcPort" : "dstPort";
  }
  void prefixIs(Prefixes which, const Prefix& prefix);
  void prefixDel(Prefixes which, const Prefix& prefix);
  void portIs(Ports which, const Range& range);
  void portDel(Ports which, unsigned start);
  void protocolIs(const Range& range);
  void protocolDelAll();
  void afIs(const std::string& value) { setValue(af, value, "af", value); }
  void versionInc();
  bool hasRules() const {
    return !srcIpPrefix.empty() || !dstIpPrefix.empty() || !protocol.empty();
  }
};

struct FwPolicy : Out {
  struct ServiceRule {
    std::shared_ptr<FwService> service;
    std::string rest;
    bool operator==(const ServiceRule&) const = default;
    std::string text() const { return "service=" + service->reference() + "," + rest; }
  };
  std::map<std::uint32_t, std::string> rule;
  std::map<std::uint32_t, ServiceRule> serviceRule;

  void ruleIs(std::uint32_t id, const std::string& text);
  void ruleDel(std::uint32_t id);
  void serviceRuleIs(std::uint32_t seqnum, const ServiceRule& value);
  void serviceRuleDel(std::uint32_t seqnum);
  void cutLinks() override { serviceRule.clear(); }
};

struct FwIntf : Out {
  std::string className;
  std::vector<Range> vlanRange;
  void classNameIs(const std::string& value) { setValue(className, value, "className", value); }
  void vlanRangeIs(const Range& range);
  void vlanRangeDel(const Range& range);
};

struct FwSegment : Out {
  struct Link {
    std::shared_ptr<FwSegment> segment;
    std::shared_ptr<FwPolicy> policy;
    bool operator==(const Link&) const = default;
    std::string text() const {
      return "segment=" + segment->reference() + ",policy=" + policy->reference();
    }
  };
  std::vector<Subnet> subnets;
  Listed<std::string, std::shared_ptr<FwIntf>> intf;
  Listed<std::string, Link> fromSegment;
  std::shared_ptr<FwPolicy> fallbackPolicy;
  std::string className;

  bool hasSubnet(const Subnet& subnet) const { return std::ranges::count(subnets, subnet) > 0; }
  void subnetsIs(const Subnet& subnet);
  void subnetsDel(const Subnet& subnet);
  std::shared_ptr<FwIntf> intfIs(const std::string& boundBy, const std::string& key);
  void intfDel(const std::string& key);
  void intfDelAll();
  void fromSegmentIs(const std::string& from, const Link& link);
  void fromSegmentDel(const std::string& from);
  void fromSegmentDelAll();
  void fallbackPolicyIs(const std::shared_ptr<FwPolicy>& policy);
  void classNameIs(const std::string& value) { setValue(className, value, "className", value); }
  void cutLinks() override;
};

struct FwDir : Out {  // of a VRF, or of the L2 segments
  std::map<std::string, std::shared_ptr<FwSegment>> segment;
  Listed<Prefix, std::string> prefixList;

  std::shared_ptr<FwSegment> find(const std::string& key) const {
    const auto found = segment.find(key);
    return found == segment.end() ? nullptr : found->second;
  }
  std::shared_ptr<FwSegment> segmentIs(const std::string& key);
  void segmentDel(const std::string& key);
  void prefixListIs(const Prefix& prefix, const std::string& value);
  void prefixListDel(const Prefix& prefix);
  void cutLinks() override;
};

struct HwConfig : Out, Watched {
  bool active = false;
  bool updateInProgress = false;
  bool defaultPolicyDrop = false;
  unsigned forwardType = 0;
  Listed<std::string, std::shared_ptr<FwDir>> vrf;
  std::shared_ptr<FwDir> l2Seg;
  Listed<std::string, std::shared_ptr<FwPolicy>> policy;
  Listed<std::string, std::shared_ptr<FwService>> services;

  void flagIs(bool HwConfig::*flag, const char* what, bool value) {
    setValue(this->*flag, value, what, value ? "true" : "false");
  }
  void activeIs(bool value) { flagIs(&HwConfig::active, "active", value); }
  void updateInProgressIs(bool value) {
    flagIs(&HwConfig::updateInProgress, "updateInProgress", value);
  }
  void defaultPolicyDropIs(bool value) {
    flagIs(&HwConfig::defaultPolicyDrop, "defaultPolicyDrop", value);
  }
  void forwardTypeIs(unsigned value);
  std::shared_ptr<FwDir> vrfIs(const std::string& key);
  void vrfDel(const std::string& key);
  void vrfDelAll();
  void l2SegIs();
  void l2SegDel();
  std::shared_ptr<FwPolicy> policyIs(const std::string& key);
  void policyDel(const std::string& key);
  void policyDelAll();
  std::shared_ptr<FwService> servicesIs(const std::string& key);
  void servicesDel(const std::string& key);
  void servicesDelAll();

  // "path = text" of everything, sorted.
  Lines dump() const;
};

struct Status {
  Listed<std::string, bool> service;
  Lines* log = nullptr;
  void serviceIs(const std::string& name);
  void serviceDel(const std::string& name);
};

std::string forwardTypeText(unsigned flags);

}  // namespace Plain
