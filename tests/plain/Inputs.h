// The inputs of the plain model: what the library is given, as plain data. Each object tells those
// who watch it.
#pragma once

#include <array>
#include <cstdint>

#include "tests/plain/Containers.h"
#include "tests/plain/Prefix.h"

namespace Plain {

struct Rule {
  std::string service;
  std::string action = "drop";
  std::string log = "false";
  std::string nexthop = "none";
  bool operator==(const Rule&) const = default;
};
struct Policy : Watched {
  std::string name;
  std::map<std::uint32_t, Rule> rule;
};

using Range = std::pair<unsigned, unsigned>;
struct VlanSet : Watched {
  std::vector<Range> vlanRange;
};
struct ClassMap : Watched {
  std::string name;
  Listed<std::string, std::shared_ptr<VlanSet>> intfVlanData;
};

struct ListSource {
  enum Kind { none, matchList, prefixList };
  Kind kind = none;
  std::string name;
  bool operator==(const ListSource&) const = default;
};
struct Segment : Watched {
  std::string name;
  std::string className;
  std::map<std::string, std::string> policy;  // from-segment to policy
  std::string fallbackPolicy;
  std::array<ListSource, 2> source;
};
struct SegmentDir : Watched {  // a VRF or an L2 segment directory
  std::string name;
  Listed<std::string, std::shared_ptr<Segment>> segment;
  Listed<Prefix, std::string> prefix;
};
struct Config : Watched {
  std::string name;
  Listed<std::string, std::shared_ptr<ClassMap>> classMap;
  Listed<std::string, std::shared_ptr<Policy>> policy;
  Listed<std::string, std::shared_ptr<SegmentDir>> vrf;
  std::shared_ptr<SegmentDir> l2;
  bool enabled = false;
  unsigned forwardType = 0;
  std::string defaultPolicy = "unset";
};

struct MatchList : Watched {
  std::set<Subnet> subnets;
};
struct ListPath : Watched {
  std::array<Listed<std::string, std::shared_ptr<MatchList>>, 2> list;
};
struct PrefixList : Watched {
  std::map<std::uint32_t, std::string> text;   // as it was written
  std::map<std::uint32_t, std::string> entry;  // "10.0.0.0/8" when permitted, else empty

  // None: the entry goes.
  bool change(std::uint32_t seqnum, const std::optional<std::string>& wanted,
              const std::string& permitted) {
    const auto found = text.find(seqnum);
    const bool present = found != text.end();
    if (wanted ? present && found->second == *wanted : !present) return true;
    News news{"entry", std::to_string(seqnum), {}, {}};
    if (present) news.before = entry[seqnum];
    if (wanted) {
      text[seqnum] = *wanted;
      entry[seqnum] = permitted;
      news.after = permitted;
    } else {
      text.erase(seqnum);
      entry.erase(seqnum);
    }
    tell(news);
    return true;
  }
};
struct PrefixLists : Watched {
  std::array<Listed<std::string, std::shared_ptr<PrefixList>>, 2> list;
};

struct Application : Watched {
  std::string af = "unspecified";
  std::vector<Range> proto;
  std::map<std::string, std::string> fieldSet;  // "dstPortFieldSet" and so on to a name
};
struct PortSet {
  std::optional<std::vector<Range>> contents;
};
struct PrefixSet {
  std::optional<std::vector<Prefix>> contents;
};
struct Applications : Watched {
  std::map<std::string, std::shared_ptr<Application>> app;
  Listed<std::string, PortSet> ports;
  Listed<std::string, PrefixSet> prefixes;
};
struct Versions : Watched {
  Listed<std::string, std::uint32_t> version;
};

template <class T>
struct Directory : Watched {
  Listed<std::string, std::shared_ptr<T>> entry;
};
struct IpStatus : Watched {
  Listed<std::string, std::string> intf;  // to its VRF
  std::vector<std::string> vrf;
};
struct Capability : Watched {
  bool serviceRuleSupported = false;
  bool forwardingSegmentsPolicySupported = false;
  bool globalPrefixListSupported = false;
  bool portRangeBlocksRequired = false;
};

struct Inputs {
  std::shared_ptr<Directory<Config>> configs = std::make_shared<Directory<Config>>();
  std::shared_ptr<Directory<ListPath>> paths = std::make_shared<Directory<ListPath>>();
  std::shared_ptr<IpStatus> ip = std::make_shared<IpStatus>();
  std::set<std::string> intfStatus;
  std::shared_ptr<Capability> capability = std::make_shared<Capability>();
  std::shared_ptr<PrefixLists> prefixLists = std::make_shared<PrefixLists>();
  std::shared_ptr<Applications> applications = std::make_shared<Applications>();
  std::shared_ptr<Versions> versions = std::make_shared<Versions>();
};

}  // namespace Plain
