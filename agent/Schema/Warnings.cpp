#include "agent/Schema/Warnings.h"

#include <algorithm>
#include <charconv>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "Firewall/Rules/RuleId.h"
#include "agent/Document/Count.h"
#include "agent/Document/Lookup.h"
#include "agent/Schema/Claims.h"
#include "agent/Schema/DocumentPath.h"
#include "agent/Schema/Expansion.h"
#include "agent/Schema/Schema.h"
#include "framework/Lanx/RangeMaskGen.h"
#include "model/Classification/AppRecognition.h"

namespace Agent {
namespace {

using Names = std::unordered_set<std::string_view>;

constexpr std::string_view forwardingSegments = "forwarding-segments";

Names namesOf(const Node& mapping) {
  Names names;
  for (const Member& member : mapping.members) names.insert(member.key.text);
  return names;
}

std::string meant(std::string_view name, const Names& known) {
  std::vector<std::string_view> candidates(known.begin(), known.end());
  std::sort(candidates.begin(), candidates.end());  // the first of equally near ones is told
  return didYouMean(name, candidates);
}

bool isMissing(const Names& known, std::string_view name) {
  return !name.empty() && known.count(name) == 0;
}

class Warner {
 public:
  Warner(const Node& root, const WarningLimits& limits, Diagnostics& diagnostics)
      : root_(root),
        limits_(limits),
        diagnostics_(diagnostics),
        switch_(below(root, switchPart)),
        vrfs_(namesOf(below(switch_, "vrf"))),
        interfaces_(namesOf(below(switch_, "intfStatus"))),
        applications_(namesOf(below(root, "app"))),
        expandsRules_(textBelow(below(switch_, "hwCapability"), "serviceRuleSupported") != "true"),
        hasGlobalList_(textBelow(below(switch_, "hwCapability"), "globalPrefixListSupported") ==
                       "true") {
    vrfs_.insert("default");
    for (const Member& intf : below(switch_, "ipIntfStatus").members) {
      routedIn_.emplace(intf.key.text, intf.value.text);
    }
    for (const Member& source : below(root, "source").members) {
      const Names policies = namesOf(below(source.value, "policy"));
      policies_.insert(policies.begin(), policies.end());
      for (const Member& vrf : below(source.value, "vrf").members) {
        const Names segments = namesOf(below(vrf.value, "segment"));
        segments_[vrf.key.text].insert(segments.begin(), segments.end());
      }
      const Names l2 = namesOf(below(below(source.value, "l2SegmentDir"), "segment"));
      l2Segments_.insert(l2.begin(), l2.end());
    }
  }

  void all() {
    portSets();
    applications();
    const DocumentPath::Step step(path_, "source");
    const Member* l2Holder = nullptr;
    for (const Member& source : below(root_, "source").members) {
      const DocumentPath::Step inSource(path_, source.key.text);
      if (source.value.find("enabled") == nullptr) {
        tell(source.key,
             "is not enabled, so nothing of it reaches the hardware; \"enabled: true\" "
             "enables it, \"enabled: false\" says that this is meant");
      }
      policies(below(source.value, "policy"));
      classMaps_ = &below(source.value, "classMap");
      {
        const DocumentPath::Step inVrfs(path_, "vrf");
        for (const Member& each : below(source.value, "vrf").members) vrf(each);
      }
      if (const Node* const directory = source.value.find("l2SegmentDir")) {
        const DocumentPath::Step inDirectory(path_, "l2SegmentDir");
        if (l2Holder != nullptr && textBelow(source.value, "enabled") == "true" &&
            textBelow(l2Holder->value, "enabled") == "true") {
          tell(*directory, "the source " + inQuotes(l2Holder->key.text) +
                               " holds the L2 directory too; the one that is enabled last has it "
                               "alone");
        }
        l2Holder = &source;
        segments(below(*directory, "segment"), l2Segments_, {});
      }
    }
    claims();
  }

 private:
  void tell(const Node& node, std::string text) {
    diagnostics_.warning(node.place, path_.text(), std::move(text));
  }

  // A port set holds one range for each port that ranges start at, and where the hardware wants
  // blocks, those that ranges are split into.
  void portSets() {
    const bool asBlocks =
        textBelow(below(switch_, "hwCapability"), "portRangeBlocksRequired") == "true";
    const DocumentPath::Step step(path_, "fieldSetL4Port");
    for (const Member& set : below(root_, "fieldSetL4Port").members) {
      const DocumentPath::Step inSet(path_, set.key.text);
      const DocumentPath::Step inPorts(path_, "ports");
      std::unordered_map<std::uint16_t, std::string_view> starts;
      for (const Member& range : below(below(set.value, "subConfig"), "ports").members) {
        const DocumentPath::Step inRange(path_, range.key.text);
        const auto ports = Classification::PortRange::parse(range.key.text);
        std::vector<std::uint16_t> mine{ports.start};
        if (asBlocks) mine = blockStarts(ports);
        for (const std::uint16_t start : mine) {
          const auto [entry, isNew] = starts.try_emplace(start, range.key.text);
          if (isNew) continue;
          tell(range.key, "meets " + std::string(entry->second) + " at port " +
                              std::to_string(start) +
                              ", where one takes the other's place; do not let ranges overlap");
          break;
        }
      }
    }
  }

  static std::vector<std::uint16_t> blockStarts(const Classification::PortRange& range) {
    std::vector<Lanx::RangeMaskGen<std::uint16_t>::Entry> blocks;
    Lanx::RangeMaskGen<std::uint16_t>::run(range.start, range.end, blocks);
    std::vector<std::uint16_t> starts;
    starts.reserve(blocks.size());
    for (const auto& block : blocks) starts.push_back(block.low);
    return starts;
  }

  // Ports are looked at where the protocol is TCP or UDP, by its own number.
  static bool carriesPorts(const Node& application) {
    const auto& protocols = below(application, "proto").members;
    const unsigned first = textBelow(application, "af") == "ipv4" ? 1 : 0;
    return std::any_of(protocols.begin(), protocols.end(), [first](const Member& member) {
      const auto range = Classification::ProtocolRange::parse(member.key.text);
      const auto holds = [&range](unsigned number) {
        return range.start <= number && number <= range.end;
      };
      return !(range.start <= first && range.end == 255) && (holds(6) || holds(17));
    });
  }

  void applications() {
    const Names ports = namesOf(below(root_, "fieldSetL4Port"));
    const Names prefixes = namesOf(below(root_, "fieldSetIpPrefix"));
    const DocumentPath::Step step(path_, "app");
    for (const Member& app : below(root_, "app").members) {
      const DocumentPath::Step inApp(path_, app.key.text);
      for (const Member& field : app.value.members) {
        const bool isPorts = field.key.text.find("PortFieldSet") != std::string_view::npos;
        const bool isPrefixes = field.key.text.find("PrefixFieldSet") != std::string_view::npos;
        const Names& known = isPorts ? ports : prefixes;
        if (isPorts && !field.value.text.empty() && !carriesPorts(app.value)) {
          const DocumentPath::Step inField(path_, field.key.text);
          tell(field.value,
               "ports are looked at for tcp and udp alone, and none of them is among "
               "the protocols; the ports do not count");
        }
        if ((!isPorts && !isPrefixes) || !isMissing(known, field.value.text)) continue;
        const DocumentPath::Step inField(path_, field.key.text);
        tell(field.value, "no field set " + inQuotes(field.value.text) + " in " +
                              (isPorts ? "fieldSetL4Port" : "fieldSetIpPrefix") +
                              "; the application matches as if it named none" +
                              meant(field.value.text, known));
      }
    }
  }

  void policies(const Node& policies) {
    const DocumentPath::Step step(path_, "policy");
    for (const Member& policy : policies.members) {
      const DocumentPath::Step inPolicy(path_, policy.key.text);
      const DocumentPath::Step inRules(path_, "rule");
      for (const Member& each : below(policy.value, "rule").members) {
        const DocumentPath::Step inRule(path_, each.key.text);
        rule(each);
      }
    }
  }

  void rule(const Member& rule) {
    const Node& service = below(rule.value, "service");
    if (applications_.count(service.text) == 0) {
      tell(service, "no application " + inQuotes(service.text) +
                        ", so the rule makes no hardware rule" +
                        meant(service.text, applications_));
      return;
    }
    const Expansion& expansion = expansionOf(service.text);
    if (expansion.matchesNothing()) {
      tell(service, "the application " + inQuotes(service.text) +
                        " has neither prefixes nor protocols, so the rule makes no hardware rule");
    }
    std::uint32_t seqnum = 0;
    std::from_chars(rule.key.text.data(), rule.key.text.data() + rule.key.text.size(), seqnum);
    if (expandsRules_ && seqnum > Firewall::maxRuleSeqnum) {
      tell(rule.key, "a sequence number above " + std::to_string(Firewall::maxRuleSeqnum) +
                         " has no place in a hardware rule's identifier; the rule makes none");
    } else if (expandsRules_ && expansion.rules() > limits_.maxExpansion) {
      const std::string lost =
          expansion.rules() > Firewall::maxRuleIndex
              ? ", of which " + grouped(Firewall::maxRuleIndex) + " have an identifier"
              : "";
      tell(rule.key, "becomes " + grouped(expansion.rules()) + " hardware rules" + lost + ": " +
                         expansion.arithmetic());
    }
    const std::string_view nexthop = textBelow(rule.value, "nexthop");
    if (textBelow(rule.value, "action") == "redirect" && (nexthop.empty() || nexthop == "none")) {
      tell(below(rule.value, "action"), "redirects without a nexthop to send to");
    }
  }

  const Expansion& expansionOf(std::string_view application) {
    const auto [entry, isNew] = expansions_.try_emplace(application);
    if (isNew) entry->second = Expansion::of(root_, application);
    return entry->second;
  }

  void vrf(const Member& vrf) {
    const DocumentPath::Step inVrf(path_, vrf.key.text);
    if (vrfs_.count(vrf.key.text) == 0) {
      tell(vrf.key, "the switch has no VRF " + inQuotes(vrf.key.text) +
                        ", so nothing of it reaches the hardware" + meant(vrf.key.text, vrfs_));
    }
    const Names& known = segments_[vrf.key.text];
    segments(below(vrf.value, "segment"), known, vrf.key.text);
    const DocumentPath::Step inPrefixes(path_, "prefix");
    for (const Member& prefix : below(vrf.value, "prefix").members) {
      if (!isMissing(known, prefix.value.text)) continue;
      const DocumentPath::Step inPrefix(path_, prefix.key.text);
      tell(prefix.value, "no segment " + inQuotes(prefix.value.text) + " in the VRF" +
                             meant(prefix.value.text, known));
    }
  }

  // `vrf` is empty for the L2 directory.
  void segments(const Node& segments, const Names& known, std::string_view vrf) {
    const DocumentPath::Step step(path_, "segment");
    for (const Member& segment : segments.members) {
      const DocumentPath::Step inSegment(path_, segment.key.text);
      links(segment.value, known);
      lists(segment, vrf);
      interfaces(segment.value, vrf);
    }
  }

  void links(const Node& segment, const Names& known) {
    for (const Member& from : below(segment, "policy").members) {
      const DocumentPath::Step inPolicy(path_, "policy");
      const DocumentPath::Step inFrom(path_, from.key.text);
      if (from.key.text != forwardingSegments && isMissing(known, from.key.text)) {
        tell(from.key, "no segment " + inQuotes(from.key.text) +
                           " here, so traffic from it is not judged" + meant(from.key.text, known));
      }
      missingPolicy(from.value);
    }
    if (const Node* const fallback = segment.find("fallbackPolicy")) {
      const DocumentPath::Step inFallback(path_, "fallbackPolicy");
      missingPolicy(*fallback);
    }
  }

  void missingPolicy(const Node& policy) {
    if (!isMissing(policies_, policy.text)) return;
    tell(policy, "no policy " + inQuotes(policy.text) + ", so the link is not made" +
                     meant(policy.text, policies_));
  }

  void lists(const Member& segment, std::string_view vrf) {
    for (const bool isIpv4 : {true, false}) {
      const std::string_view field = isIpv4 ? "prefixIpv4Ml" : "prefixIpv6Ml";
      const Node* const source = segment.value.find(field);
      if (source == nullptr || source->text == "none") continue;
      const std::size_t colon = source->text.find(':');
      const bool isMatchList = source->text.substr(0, colon) == "matchList";
      const std::string_view name = source->text.substr(colon + 1);
      const std::string_view part = isMatchList
                                        ? isIpv4 ? "matchIpv4PrefixList" : "matchIpv6PrefixList"
                                    : isIpv4 ? "prefixList"
                                             : "ipv6PrefixList";
      const DocumentPath::Step inField(path_, field);
      const Node& all = below(root_, part);
      const Node* const list = all.find(name);
      if (list == nullptr) {
        tell(*source, "no list " + inQuotes(name) + " in " + std::string(part) +
                          ", so the segment has no prefixes of it" + meant(name, namesOf(all)));
      } else if (!vrf.empty()) {
        claim(vrf, segment.key, *source, *list);
      }
    }
  }

  void interfaces(const Node& segment, std::string_view vrf) {
    const std::string_view className = textBelow(segment, "className");
    if (className.empty()) return;
    const DocumentPath::Step inField(path_, interfacesField);
    for (const Member& intf : below(below(*classMaps_, className), "intfVlanData").members) {
      const DocumentPath::Step inIntf(path_, intf.key.text);
      if (interfaces_.count(intf.key.text) == 0) {
        tell(intf.key, "the switch has no interface " + inQuotes(intf.key.text) +
                           meant(intf.key.text, interfaces_));
        continue;
      }
      if (vrf.empty()) continue;
      const auto routed = routedIn_.find(intf.key.text);
      if (routed == routedIn_.end()) {
        tell(intf.key, "is not routed, so it does not belong to a segment of a VRF");
      } else if (routed->second != vrf) {
        tell(intf.key,
             "is routed in the VRF " + inQuotes(routed->second) + ", not in " + inQuotes(vrf));
      }
    }
  }

  // Notes which segment claims a prefix of the list first.
  void claim(std::string_view vrf, const Node& segment, const Node& source, const Node& list) {
    claimPaths_.emplace(&source, path_.text());
    Claims& claims = claims_[vrf];
    std::unordered_map<std::string_view, std::size_t> told;  // the other segment to its double
    const auto one = [&](std::string_view prefix) {
      const std::string_view first = claims.first(prefix, segment.text);
      if (first == segment.text) return;
      const auto [entry, isNew] = told.try_emplace(first, doubles_.size());
      if (isNew) doubles_.push_back({prefix, &source, first, vrf, 0});
      ++doubles_[entry->second].count;
    };
    for (const Member& subnet : below(list, "subnets").members) one(subnet.key.text);
    for (const char* entries : {"prefixEntry", "ipv6PrefixEntry"}) {
      for (const Member& entry : below(list, entries).members) {
        if (textBelow(entry.value, "action") == "permit") one(textBelow(entry.value, "prefix"));
      }
    }
  }

  // The prefixes of a list that another segment claims too.
  struct Double {
    std::string_view prefix;  // the first
    const Node* source;
    std::string_view other;
    std::string_view vrf;
    std::size_t count;
  };

  void claims() {
    for (const Double& each : doubles_) {
      std::string text = std::string(each.prefix);
      if (each.count > 1) {
        text += " and " + grouped(each.count - 1) + " more prefix" + (each.count > 2 ? "es" : "");
      }
      text += " of this list: the segment " + inQuotes(each.other) + " claims the same; ";
      const std::string_view owner = globalOwner(each.vrf, each.prefix);
      if (hasGlobalList_ && sourcesWith(each.vrf) > 1) {
        text +=
            "several sources configure the VRF, and \"fwagent explain prefix\" tells who owns it";
      } else if (!hasGlobalList_) {
        text += "both hold it, for the hardware has no VRF-wide list";
      } else if (!owner.empty()) {
        text += inQuotes(owner) + " owns it by the VRF's global prefixes";
      } else {
        text += inQuotes(each.other) + " owns it in the VRF-wide list, as the first";
      }
      diagnostics_.warning(each.source->place, claimPaths_[each.source], std::move(text));
    }
  }

  std::size_t sourcesWith(std::string_view vrf) const {
    const auto& sources = below(root_, "source").members;
    return static_cast<std::size_t>(std::count_if(
        sources.begin(), sources.end(),
        [vrf](const Member& source) { return below(source.value, "vrf").find(vrf) != nullptr; }));
  }

  std::string_view globalOwner(std::string_view vrf, std::string_view prefix) const {
    for (const Member& source : below(root_, "source").members) {
      const std::string_view owner =
          textBelow(below(below(below(source.value, "vrf"), vrf), "prefix"), prefix);
      if (!owner.empty()) return owner;
    }
    return {};
  }

  const Node& root_;
  const WarningLimits& limits_;
  Diagnostics& diagnostics_;
  DocumentPath path_;
  const Node& switch_;
  Names vrfs_;
  Names interfaces_;
  Names applications_;
  Names policies_;
  Names l2Segments_;
  std::unordered_map<std::string_view, Names> segments_;             // by VRF
  std::unordered_map<std::string_view, std::string_view> routedIn_;  // interface to VRF
  std::unordered_map<std::string_view, Expansion> expansions_;       // by application
  std::unordered_map<std::string_view, Claims> claims_;              // by VRF
  std::unordered_map<const Node*, std::string> claimPaths_;          // by the list source
  std::vector<Double> doubles_;
  const Node* classMaps_ = &absent();
  bool expandsRules_;
  bool hasGlobalList_;
};

}  // namespace

void warn(const Node& root, const WarningLimits& limits, Diagnostics& diagnostics) {
  Warner(root, limits, diagnostics).all();
}

}  // namespace Agent
