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

// A type, and its attributes with their notification identifiers. These are part of the binary
// interface: a program that was built against other headers compares with the numbers of those.
// Each class has 64 of its own: from 1, and from 65 where its base declares attributes too.
using Table = std::map<std::string, std::vector<std::string>>;

const Table& expectedTable() {
  static const Table table{
      // The configuration of one source.
      {"Firewall::Config",
       {"1 classMap: children Firewall::ClassMapFirewall by Pith::String",
        "2 policy: children Firewall::Policy by Pith::String",
        "3 vrf: children Firewall::Vrf by L3::VrfName",
        "4 l2SegmentDir: child Firewall::SegmentDir", "5 enabled: bool",
        "6 forwardType: Firewall::ForwardingTypeMatch",
        "7 defaultPolicy: Firewall::DefaultPolicy"}},
      {"Firewall::ClassMapFirewall",
       {"1 intfVlanData: children Firewall::IntfVlanRangeSet by Lanx::IntfId"}},
      {"Firewall::IntfVlanRangeSet", {"1 vlanRange: set of Firewall::VlanRange"}},
      {"Firewall::Policy",
       {"1 rule: ordered map from U32 to {service: Pith::String, action: Firewall::Action, "
        "log: bool, nexthop: Lanx::IpGenAddr}"}},
      {"Firewall::Vrf",
       {"1 segment: children Firewall::Segment by Pith::String",
        "65 prefix: map from Lanx::IpGenPrefix to Pith::String"}},
      {"Firewall::SegmentDir", {"1 segment: children Firewall::Segment by Pith::String"}},
      {"Firewall::Segment",
       {"1 className: Pith::String", "2 policy: ordered map from Pith::String to Pith::String",
        "3 fallbackPolicy: Pith::String", "4 prefixIpv4Ml: Firewall::ListSource",
        "5 prefixIpv6Ml: Firewall::ListSource"}},
      // The lists.
      {"MatchList::Config",
       {"1 matchIpv4PrefixList: children MatchList::MatchIpv4PrefixListConfig by Pith::String",
        "2 matchIpv6PrefixList: children MatchList::MatchIpv6PrefixListConfig by Pith::String"}},
      {"MatchList::MatchIpv4PrefixListConfig", {"1 subnets: ordered set of Lanx::IpAddrWithMask"}},
      {"MatchList::MatchIpv6PrefixListConfig", {"1 subnets: ordered set of Lanx::Ip6AddrWithMask"}},
      {"Acl::AclListConfig",
       {"1 prefixList: children Acl::PrefixList by Pith::String",
        "2 ipv6PrefixList: children Acl::Ipv6PrefixList by Pith::String"}},
      {"Acl::PrefixList",
       {"1 prefixEntry: ordered map from U32 to {prefix: Lanx::Prefix, action: Acl::Action}"}},
      {"Acl::Ipv6PrefixList",
       {"1 ipv6PrefixEntry: ordered map from U32 to {prefix: Lanx::Ip6Prefix, "
        "action: Acl::Action}"}},
      // The switch.
      {"Firewall::HwCapability",
       {"1 serviceRuleSupported: bool", "2 forwardingSegmentsPolicySupported: bool",
        "3 globalPrefixListSupported: bool", "4 portRangeBlocksRequired: bool"}},
      {"Ip::Status",
       {"1 ipIntfStatus: map from Lanx::IntfId to L3::VrfName", "2 vrf: set of L3::VrfName"}},
      {"Interface::AllIntfStatusDir", {"1 intfStatus: set of Lanx::IntfId"}},
      // Applications.
      {"Classification::AppConfig",
       {"1 af: Classification::AddressFamily", "2 proto: set of Classification::PublishedRange<U8>",
        "3 dstPortFieldSet: Pith::String", "4 srcPortFieldSet: Pith::String",
        "5 dstPrefixFieldSet: Pith::String", "6 srcPrefixFieldSet: Pith::String"}},
      {"Classification::AppRecognitionConfig",
       {"1 app: ordered children Classification::AppConfig by Pith::String"}},
      {"Classification::AppRecognitionStatus",
       {"1 versionForAppProfile: map from Pith::String to U32"}},
      {"Classification::FieldSetConfig",
       {"1 fieldSetL4Port: children Classification::FieldSetL4PortConfig by Pith::String",
        "2 fieldSetIpPrefix: children Classification::FieldSetIpPrefixConfig by Pith::String"}},
      {"Classification::FieldSetL4PortConfig",
       {"1 subConfig: child Classification::FieldSetL4PortSubConfig"}},
      {"Classification::FieldSetL4PortSubConfig",
       {"1 ports: set of Classification::PublishedRange<U16>"}},
      {"Classification::FieldSetIpPrefixConfig",
       {"1 subConfig: child Classification::FieldSetIpPrefixSubConfig"}},
      {"Classification::FieldSetIpPrefixSubConfig", {"1 prefixes: set of Lanx::IpGenPrefix"}},
      // The output.
      {"Firewall::HwConfig",
       {"1 active: bool", "2 updateInProgress: bool", "3 defaultPolicyDrop: bool",
        "4 forwardType: Firewall::ForwardingTypeMatch",
        "5 vrf: children Firewall::FwVrf by L3::VrfName", "6 l2Seg: child Firewall::FwSegmentDir",
        "7 policy: children Firewall::FwPolicy by Pith::String",
        "8 services: children Firewall::FwService by Pith::String"}},
      {"Firewall::FwSegmentDir",
       {"1 segment: ordered children Firewall::FwSegment by Pith::String"}},
      {"Firewall::FwVrf",
       {"1 segment: ordered children Firewall::FwSegment by Pith::String",
        "65 prefixList: map from Lanx::IpGenPrefix to Pith::String"}},
      {"Firewall::FwSegment",
       {"1 subnets: map from Lanx::IpGenAddrWithMask to bool",
        "2 intfVlanRangeSet: children Firewall::FwIntfVlanRangeSet by Lanx::IntfId",
        "3 fromSegment: map from Pith::String to {segment: Pith::Ptr<Firewall::FwSegment>, "
        "policy: Pith::Ptr<Firewall::FwPolicy>}",
        "4 fallbackPolicy: reference Pith::Ptr<Firewall::FwPolicy>", "5 className: Pith::String"}},
      {"Firewall::FwIntfVlanRangeSet",
       {"1 className: Pith::String", "2 vlanRange: set of Firewall::VlanRange"}},
      {"Firewall::FwPolicy",
       {"1 rule: ordered map from U32 to {seqnum: U32, sip: Lanx::IpGenPrefix, "
        "dip: Lanx::IpGenPrefix, protocol: optional Firewall::Protocol, "
        "dstPort: Firewall::PortRange, srcPort: Firewall::PortRange, action: Firewall::Action, "
        "log: bool, nexthop: Lanx::IpGenAddr}",
        "2 serviceRule: ordered map from U32 to {service: Pith::Ptr<const Firewall::FwService>, "
        "action: Firewall::Action, log: bool, nexthop: Lanx::IpGenAddr}"}},
      {"Firewall::FwService",
       {"1 srcIpPrefix: set of Lanx::IpGenPrefix", "2 dstIpPrefix: set of Lanx::IpGenPrefix",
        "3 protocol: ordered set of Firewall::ProtocolRange",
        "4 dstPort: ordered map from U16 to Firewall::PortRange",
        "5 srcPort: ordered map from U16 to Firewall::PortRange",
        "6 af: Classification::AddressFamily", "7 version: U32"}},
      {"Firewall::Status", {"1 service: set of Pith::String"}},
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
  std::string text = std::to_string(attribute.field) + " " + std::string(attribute.name);
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

TEST(ModelTableTest, everyTypeHasItsAttributesUnderTheirIdentifiers) {
  Table table;
  for (const TestSupport::Maker& maker : ModelTest::makers()) {
    std::vector<std::string>& attributes = table[std::string(maker.type->name)];
    for (const Kiv::AttributeData& attribute : maker.type->attributes) {
      attributes.push_back(described(attribute));
    }
  }
  for (const auto& [type, attributes] : expectedTable()) {
    EXPECT_EQ(table[type], attributes)
        << type << ": programs built against the installed headers wait for the identifiers above. "
        << "Declare a new attribute behind the others of its class. To move or remove one, raise "
        << "the project's major version (CMakeLists.txt), which is that of the libraries.";
  }
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
