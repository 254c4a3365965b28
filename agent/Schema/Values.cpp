#include "agent/Schema/Values.h"

#include <array>
#include <charconv>
#include <unordered_map>
#include <utility>

#include "agent/Document/Diagnostics.h"
#include "framework/Lanx/IntfId.h"
#include "framework/Lanx/IpAddr.h"
#include "framework/Lanx/IpAddrWithMask.h"
#include "framework/Lanx/Prefix.h"
#include "framework/Pith/Assert.h"
#include "framework/Pith/RangeException.h"
#include "framework/Pith/String.h"
#include "model/Classification/AppRecognition.h"
#include "model/Firewall/Enums.h"
#include "model/Firewall/ListSource.h"
#include "model/Firewall/Range.h"
#include "model/L3/VrfName.h"

namespace Agent {
namespace {

constexpr std::array<std::pair<std::string_view, int>, 16> knownProtocols{{{"icmp", 1},
                                                                           {"igmp", 2},
                                                                           {"ipip", 4},
                                                                           {"tcp", 6},
                                                                           {"egp", 8},
                                                                           {"udp", 17},
                                                                           {"dccp", 33},
                                                                           {"gre", 47},
                                                                           {"esp", 50},
                                                                           {"ah", 51},
                                                                           {"icmpv6", 58},
                                                                           {"ipv6-icmp", 58},
                                                                           {"eigrp", 88},
                                                                           {"ospf", 89},
                                                                           {"pim", 103},
                                                                           {"sctp", 132}}};

// Reads a T; a parse that raises says no.
template <class T, class Accept>
bool canonicalOf(std::string_view text, std::string& out, const Accept& accept) {
  try {
    const T value = Kiv::strepToValue<T>(text);
    if (!accept(value)) return false;
    out.clear();
    Kiv::appendText(out, value);
    return true;
  } catch (const Pith::RangeException&) {
    return false;
  }
}

template <class T>
bool anyOf(std::string_view text, std::string& out) {
  return canonicalOf<T>(text, out, [](const T&) { return true; });
}

// A text of the one line.
bool isName(std::string_view text) {
  for (const char character : text) {
    if (static_cast<unsigned char>(character) < ' ' || character == '\x7f') return false;
  }
  return !text.empty();
}

template <class T>
bool nameOf(std::string_view text, std::string& out) {
  return isName(text) && anyOf<T>(text, out);
}

// A subnet without host bits and with its length written out.
template <class Subnet>
bool prefixOf(std::string_view text, std::string& out) {
  if (text.find('/') == std::string_view::npos) return false;
  return canonicalOf<Subnet>(text, out, [](const Subnet& value) { return value.validAsPrefix(); });
}

template <class Range>
bool risingOf(std::string_view text, std::string& out) {
  return canonicalOf<Range>(text, out, [](const Range& range) { return range.start <= range.end; });
}

bool protocolRangeOf(std::string_view text, std::string& out) {
  const int number = protocolNumber(text);
  if (number < 0) return risingOf<Classification::ProtocolRange>(text, out);
  out = std::to_string(number);
  return true;
}

bool vlanRangeOf(std::string_view text, std::string& out) {
  return canonicalOf<Firewall::VlanRange>(
      text, out, [](const auto& range) { return range.first() <= range.second(); });
}

bool listSourceOf(std::string_view text, std::string& out) {
  return canonicalOf<Firewall::ListSource>(text, out, [](const Firewall::ListSource& source) {
    return source.isNone() || isName(source.name().view());
  });
}

constexpr const char* namePattern = R"(^[^\u0000-\u001f\u007f]+$)";
constexpr const char* rangePattern = "^[0-9]+(-[0-9]+)?$";
constexpr const char* ipv4Pattern = R"(^[0-9]+(\.[0-9]+){3}/[0-9]+$)";
constexpr const char* ipv6Pattern = R"(^[0-9A-Fa-f:.]*:[0-9A-Fa-f:.]*/[0-9]+$)";

std::string protocolPattern() {
  std::string names;
  for (const auto& [name, number] : knownProtocols) names.append("|").append(name);
  return "^([0-9]+(-[0-9]+)?" + names + ")$";
}

const std::unordered_map<std::string_view, ValueType>& valueTypes() {
  static const std::unordered_map<std::string_view, ValueType> types = [] {
    std::unordered_map<std::string_view, ValueType> result;
    const auto add = [&result]<class T>(std::type_identity<T>, ValueType type) {
      result.emplace(Kiv::valueDataOf<T>().typeName, type);
    };
    add(std::type_identity<Pith::String>(), {nameOf<Pith::String>, "a name", "", namePattern});
    add(std::type_identity<L3::VrfName>(),
        {nameOf<L3::VrfName>, "the name of a VRF, of at most 100 bytes", "",
         R"(^[^\u0000-\u001f\u007f]{1,100}$)"});
    add(std::type_identity<Lanx::IntfId>(),
        {nameOf<Lanx::IntfId>,
         "the name of an interface such as Ethernet1, of at most 64 bytes without blanks", "",
         R"(^\S+$)"});
    add(std::type_identity<Lanx::IpAddrWithMask>(),
        {prefixOf<Lanx::IpAddrWithMask>, "an IPv4 prefix without host bits, such as 10.0.0.0/8", "",
         ipv4Pattern});
    add(std::type_identity<Lanx::Ip6AddrWithMask>(),
        {prefixOf<Lanx::Ip6AddrWithMask>, "an IPv6 prefix without host bits, such as 2001:db8::/32",
         "", ipv6Pattern});
    add(std::type_identity<Lanx::Prefix>(),
        {prefixOf<Lanx::IpAddrWithMask>, "an IPv4 prefix without host bits, such as 10.0.0.0/8",
         "unset", ipv4Pattern});
    add(std::type_identity<Lanx::Ip6Prefix>(),
        {prefixOf<Lanx::Ip6AddrWithMask>, "an IPv6 prefix without host bits, such as 2001:db8::/32",
         "::/0", ipv6Pattern});
    add(std::type_identity<Lanx::IpGenPrefix>(),
        {prefixOf<Lanx::IpGenAddrWithMask>,
         "a prefix without host bits, such as 10.0.0.0/8 or 2001:db8::/32", "unset",
         R"(^[0-9A-Fa-f:.]+/[0-9]+$)"});
    add(std::type_identity<Lanx::IpGenAddr>(),
        {anyOf<Lanx::IpGenAddr>, "an address such as 192.0.2.1 or 2001:db8::1", "none",
         "^(none|[0-9A-Fa-f:.]+)$"});
    add(std::type_identity<Classification::PortRange>(),
        {risingOf<Classification::PortRange>,
         "a port or a rising range of ports, such as 80 or 1000-1999, of 0 to 65535", "0",
         rangePattern, 0, 65535});
    add(std::type_identity<Classification::ProtocolRange>(),
        {protocolRangeOf,
         "a protocol such as tcp, or its number 0 to 255, or a rising range of numbers", "0",
         protocolPattern(), 0, 255});
    add(std::type_identity<Firewall::VlanRange>(),
        {vlanRangeOf, "a VLAN or a rising range of VLANs, such as 100 or 100-199, of 1 to 4094", "",
         rangePattern, Bridging::VlanId::min, Bridging::VlanId::max});
    add(std::type_identity<Firewall::ListSource>(),
        {listSourceOf, "\"matchList:NAME\", \"prefixList:NAME\" or \"none\"", "none",
         "^(none|matchList:.+|prefixList:.+)$"});
    add(std::type_identity<Firewall::ForwardingTypeMatch>(),
        {anyOf<Firewall::ForwardingTypeMatch>, "bridged, routed, bridged|routed or none", "none",
         R"(^(none|bridged|routed|bridged\|routed)$)"});
    return result;
  }();
  return types;
}

bool integerOf(const Kiv::ValueData& data, std::string_view text, std::string& out) {
  std::uint64_t value = 0;
  const auto [stop, failed] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (failed != std::errc() || stop != text.data() + text.size() || text.empty()) return false;
  if (value > data.max) return false;
  out = std::to_string(value);
  return true;
}

}  // namespace

const ValueType& valueTypeOf(const Kiv::ValueData& data) {
  const auto found = valueTypes().find(data.typeName);
  PITH_ASSERT_TEXT(found != valueTypes().end(), "a value type that documents do not know");
  return found->second;
}

bool canonicalText(const Kiv::ValueData& data, std::string_view text, std::string& out) {
  using Kind = Kiv::ValueData::Kind;
  switch (data.kind) {
    case Kind::boolean:
      out = text;
      return text == "true" || text == "false";
    case Kind::integer:
      return integerOf(data, text, out);
    case Kind::enumeration:
      for (const std::string_view name : data.names) {
        if (name == text) {
          out = text;
          return true;
        }
      }
      return false;
    default:
      return valueTypeOf(data).canonical(text, out);
  }
}

std::string wantedText(const Kiv::ValueData& data) {
  using Kind = Kiv::ValueData::Kind;
  switch (data.kind) {
    case Kind::boolean:
      return "true or false";
    case Kind::integer:
      return "a number from 0 to " + std::to_string(data.max);
    case Kind::enumeration: {
      std::string names;
      for (std::size_t i = 0; i < data.names.size(); ++i) {
        if (i != 0) names += i + 1 == data.names.size() ? " or " : ", ";
        names += data.names[i];
      }
      return names;
    }
    case Kind::record:
      return "a mapping";
    default:
      return std::string(valueTypeOf(data).wanted);
  }
}

std::string wrongText(const Kiv::ValueData& data, std::string_view text) {
  std::string canonical;
  if (canonicalText(data, text, canonical)) return {};
  return inQuotes(text) + " is not " + wantedText(data);
}

std::string defaultText(const Kiv::ValueData& data) {
  using Kind = Kiv::ValueData::Kind;
  switch (data.kind) {
    case Kind::boolean:
      return "false";
    case Kind::integer:
      return "0";
    case Kind::enumeration:
      return std::string(data.names.front());
    case Kind::record: {
      std::string text;
      for (const auto& field : data.fields) {
        appendField(text, field.name, defaultText(*field.value));
      }
      return text;
    }
    default:
      return std::string(valueTypeOf(data).defaultText);
  }
}

void appendField(std::string& record, std::string_view name, std::string_view value) {
  if (!record.empty()) record.push_back(',');
  record.append(name).push_back('=');
  if (value.find_first_of(",=\"\\") == std::string_view::npos) {
    record.append(value);
    return;
  }
  record.push_back('"');
  for (const char character : value) {
    if (character == '"' || character == '\\') record.push_back('\\');
    record.push_back(character);
  }
  record.push_back('"');
}

int protocolNumber(std::string_view name) {
  for (const auto& [known, number] : knownProtocols) {
    if (known == name) return number;
  }
  return -1;
}

std::string_view protocolName(unsigned number) {
  for (const auto& [known, value] : knownProtocols) {
    if (static_cast<unsigned>(value) == number) return known;
  }
  return {};
}

}  // namespace Agent
