// What the types of the model consist of: the interface to the agents that publish and read them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "framework/Kiv/TypeData.h"
#include "tests/model/ModelTypes.h"

namespace {

using Kiv::AttributeKind;
using testing::ElementsAre;

// A type, and its attributes in the order of their notification identifiers.
using Table = std::map<std::string, std::vector<std::string>>;

const Table& expectedTable() {
  static const Table table{
      // The configuration of one source.
      {"Firewall::Config",
       {"classMap: children Firewall::ClassMapFirewall by Pith::String",
        "policy: children Firewall::Policy by Pith::String",
        "vrf: children Firewall::Vrf by L3::VrfName", "l2SegmentDir: child Firewall::SegmentDir",
        "enabled: bool", "forwardType: Firewall::ForwardingTypeMatch",
        "defaultPolicy: Firewall::DefaultPolicy"}},
      {"Firewall::ClassMapFirewall",
       {"intfVlanData: children Firewall::IntfVlanRangeSet by Lanx::IntfId"}},
      {"Firewall::IntfVlanRangeSet", {"vlanRange: set of Firewall::VlanRange"}},
      {"Firewall::Policy",
       {"rule: ordered map from U32 to {service: Pith::String, action: Firewall::Action, "
        "log: bool, nexthop: Lanx::IpGenAddr}"}},
      {"Firewall::Vrf",
       {"segment: children Firewall::Segment by Pith::String",
        "prefix: map from Lanx::IpGenPrefix to Pith::String"}},
      {"Firewall::SegmentDir", {"segment: children Firewall::Segment by Pith::String"}},
      {"Firewall::Segment",
       {"className: Pith::String", "policy: ordered map from Pith::String to Pith::String",
        "fallbackPolicy: Pith::String", "prefixIpv4Ml: Firewall::ListSource",
        "prefixIpv6Ml: Firewall::ListSource"}},
      // The lists.
      {"MatchList::Config",
       {"matchIpv4PrefixList: children MatchList::MatchIpv4PrefixListConfig by Pith::String",
        "matchIpv6PrefixList: children MatchList::MatchIpv6PrefixListConfig by Pith::String"}},
      {"MatchList::MatchIpv4PrefixListConfig", {"subnets: ordered set of Lanx::IpAddrWithMask"}},
      {"MatchList::MatchIpv6PrefixListConfig", {"subnets: ordered set of Lanx::Ip6AddrWithMask"}},
      {"Acl::AclListConfig",
       {"prefixList: children Acl::PrefixList by Pith::String",
        "ipv6PrefixList: children Acl::Ipv6PrefixList by Pith::String"}},
      {"Acl::PrefixList",
       {"prefixEntry: ordered map from U32 to {prefix: Lanx::Prefix, action: Acl::Action}"}},
      {"Acl::Ipv6PrefixList",
       {"ipv6PrefixEntry: ordered map from U32 to {prefix: Lanx::Ip6Prefix, "
        "action: Acl::Action}"}},
      // The switch.
      {"Firewall::HwCapability",
       {"serviceRuleSupported: bool", "forwardingSegmentsPolicySupported: bool",
        "globalPrefixListSupported: bool", "portRangeBlocksRequired: bool"}},
      {"Ip::Status",
       {"ipIntfStatus: map from Lanx::IntfId to L3::VrfName", "vrf: set of L3::VrfName"}},
      {"Interface::AllIntfStatusDir", {"intfStatus: set of Lanx::IntfId"}},
      // Applications.
      {"Classification::AppConfig",
       {"af: Classification::AddressFamily", "proto: set of Classification::PublishedRange<U8>",
        "dstPortFieldSet: Pith::String", "srcPortFieldSet: Pith::String",
        "dstPrefixFieldSet: Pith::String", "srcPrefixFieldSet: Pith::String"}},
      {"Classification::AppRecognitionConfig",
       {"app: ordered children Classification::AppConfig by Pith::String"}},
      {"Classification::AppRecognitionStatus",
       {"versionForAppProfile: map from Pith::String to U32"}},
      {"Classification::FieldSetConfig",
       {"fieldSetL4Port: children Classification::FieldSetL4PortConfig by Pith::String",
        "fieldSetIpPrefix: children Classification::FieldSetIpPrefixConfig by Pith::String"}},
      {"Classification::FieldSetL4PortConfig",
       {"subConfig: child Classification::FieldSetL4PortSubConfig"}},
      {"Classification::FieldSetL4PortSubConfig",
       {"ports: set of Classification::PublishedRange<U16>"}},
      {"Classification::FieldSetIpPrefixConfig",
       {"subConfig: child Classification::FieldSetIpPrefixSubConfig"}},
      {"Classification::FieldSetIpPrefixSubConfig", {"prefixes: set of Lanx::IpGenPrefix"}},
      // The output.
      {"Firewall::HwConfig",
       {"active: bool", "updateInProgress: bool", "defaultPolicyDrop: bool",
        "forwardType: Firewall::ForwardingTypeMatch",
        "vrf: children Firewall::FwVrf by L3::VrfName", "l2Seg: child Firewall::FwSegmentDir",
        "policy: children Firewall::FwPolicy by Pith::String",
        "services: children Firewall::FwService by Pith::String"}},
      {"Firewall::FwSegmentDir", {"segment: ordered children Firewall::FwSegment by Pith::String"}},
      {"Firewall::FwVrf",
       {"segment: ordered children Firewall::FwSegment by Pith::String",
        "prefixList: map from Lanx::IpGenPrefix to Pith::String"}},
      {"Firewall::FwSegment",
       {"subnets: map from Lanx::IpGenAddrWithMask to bool",
        "intfVlanRangeSet: children Firewall::FwIntfVlanRangeSet by Lanx::IntfId",
        "fromSegment: map from Pith::String to {segment: Pith::Ptr<Firewall::FwSegment>, "
        "policy: Pith::Ptr<Firewall::FwPolicy>}",
        "fallbackPolicy: reference Pith::Ptr<Firewall::FwPolicy>", "className: Pith::String"}},
      {"Firewall::FwIntfVlanRangeSet",
       {"className: Pith::String", "vlanRange: set of Firewall::VlanRange"}},
      {"Firewall::FwPolicy",
       {"rule: ordered map from U32 to {seqnum: U32, sip: Lanx::IpGenPrefix, "
        "dip: Lanx::IpGenPrefix, protocol: optional Firewall::Protocol, "
        "dstPort: Firewall::PortRange, srcPort: Firewall::PortRange, action: Firewall::Action, "
        "log: bool, nexthop: Lanx::IpGenAddr}",
        "serviceRule: ordered map from U32 to {service: Pith::Ptr<const Firewall::FwService>, "
        "action: Firewall::Action, log: bool, nexthop: Lanx::IpGenAddr}"}},
      {"Firewall::FwService",
       {"srcIpPrefix: set of Lanx::IpGenPrefix", "dstIpPrefix: set of Lanx::IpGenPrefix",
        "protocol: ordered set of Firewall::ProtocolRange",
        "dstPort: ordered map from U16 to Firewall::PortRange",
        "srcPort: ordered map from U16 to Firewall::PortRange", "af: Classification::AddressFamily",
        "version: U32"}},
      {"Firewall::Status", {"service: set of Pith::String"}},
  };
  return table;
}

std::string named(const Kiv::ValueData& value) {
  if (value.kind == Kiv::ValueData::Kind::record) {
    std::string fields;
    for (const Kiv::ValueData::Field& field : value.fields) {
      fields.append(fields.empty() ? "{" : ", ").append(field.name).append(": ");
      fields.append(named(*field.value));
    }
    return fields + "}";
  }
  const std::string name = std::regex_replace(
      std::regex_replace(std::string(value.typeName),
                         std::regex("<(unsigned short|short unsigned int)>"), "<U16>"),
      std::regex("<unsigned char>"), "<U8>");
  return (value.optional ? "optional " : "") + name;
}

std::string described(const Kiv::AttributeData& attribute) {
  std::string text(attribute.name);
  text.append(attribute.ordered ? ": ordered " : ": ");
  switch (attribute.kind) {
    case AttributeKind::value:
      return text + named(*attribute.value);
    case AttributeKind::reference:
      return text + "reference " + named(*attribute.value);
    case AttributeKind::set:
      return text + "set of " + named(*attribute.key);
    case AttributeKind::collection:
      return text + "map from " + named(*attribute.key) + " to " + named(*attribute.value);
    case AttributeKind::child:
      return text + "child " + std::string(attribute.childType().name);
    case AttributeKind::children:
      return text + "children " + std::string(attribute.childType().name) + " by " +
             named(*attribute.key);
  }
  return text;
}

TEST(ModelTableTest, everyTypeHasItsAttributesInTheirOrder) {
  Table table;
  for (const TestSupport::Maker& maker : ModelTest::makers()) {
    std::vector<std::string>& attributes = table[std::string(maker.type->name)];
    for (const Kiv::AttributeData& attribute : maker.type->attributes) {
      attributes.push_back(described(attribute));
    }
  }
  for (const auto& [type, attributes] : expectedTable()) EXPECT_EQ(table[type], attributes) << type;
  EXPECT_EQ(table.size(), expectedTable().size());
}

TEST(ModelTableTest, everyTypeThatIsDefinedIsAmongThoseTested) {
  std::set<std::string> defined;
  for (const char* folder : {"Acl", "Classification", "Firewall", "Interface", "Ip", "MatchList"}) {
    std::ifstream source(std::string("model/") + folder + "/Types.cpp");
    ASSERT_TRUE(source) << folder;
    for (std::string line; std::getline(source, line);) {
      std::smatch match;
      if (std::regex_match(line, match, std::regex("KIV_ENTITY_DEFINE\\((.*)\\)"))) {
        defined.insert(match[1]);
      }
    }
  }
  std::set<std::string> tested;
  for (const auto& maker : ModelTest::makers()) tested.emplace(maker.type->name);
  EXPECT_EQ(tested, defined);
}

TEST(ModelTableTest, enumerationsHaveTheirNamesInTheOrderOfTheirValues) {
  const auto namesOf = [](const char* type, const char* attribute) {
    for (const auto& maker : ModelTest::makers()) {
      if (maker.type->name == type) return maker.type->attribute(attribute)->value;
    }
    return static_cast<const Kiv::ValueData*>(nullptr);
  };
  EXPECT_THAT(namesOf("Firewall::Config", "defaultPolicy")->names,
              ElementsAre("unset", "drop", "forward"));
  EXPECT_THAT(namesOf("Firewall::FwService", "af")->names,
              ElementsAre("unspecified", "ipv4", "ipv6"));
  EXPECT_THAT(namesOf("Firewall::Policy", "rule")->fields[1].value->names,
              ElementsAre("drop", "forward", "redirect"));
  EXPECT_THAT(namesOf("Acl::PrefixList", "prefixEntry")->fields[1].value->names,
              ElementsAre("deny", "permit"));
}

}  // namespace
