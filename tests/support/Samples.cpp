#include "tests/support/Samples.h"

#include <stdexcept>
#include <utility>

namespace TestSupport {
namespace {

using Kind = Kiv::ValueData::Kind;

struct TextSamples {
  std::vector<std::string> values;
  std::string malformed;
};

// Compilers call the numbers of a template differently.
std::string withPortableNumbers(std::string name) {
  const std::pair<std::string_view, std::string_view> numbers[] = {
      {"<unsigned short>", "<U16>"},
      {"<short unsigned int>", "<U16>"},
      {"<unsigned char>", "<U8>"}};
  for (const auto& [ofCompiler, portable] : numbers) {
    const std::size_t at = name.find(ofCompiler);
    if (at != std::string::npos) name.replace(at, ofCompiler.size(), portable);
  }
  return name;
}

// Types with a notation of their own.
const TextSamples& textSamples(std::string_view typeName) {
  static const std::map<std::string, TextSamples, std::less<>> samples{
      {"Pith::String", {{"web", "a/b%2F", "\"q\"=\\,", "\xC3\xBC \x01"}, ""}},
      {"L3::VrfName", {{"red", "default", "a/b", "blue"}, std::string(101, 'v')}},
      {"Lanx::IntfId", {{"Ethernet1/2", "Ethernet1/10", "Port-Channel7", "Vlan4"}, "a b"}},
      {"Lanx::IpGenAddr", {{"192.0.2.1", "2001:db8::1", "192.0.2.2", "::1"}, "192.0.2"}},
      {"Lanx::IpGenPrefix", {{"10.0.0.0/8", "2001:db8::/32", "unset", "0.0.0.0/0"}, "10.0.0.0/33"}},
      {"Lanx::IpGenAddrWithMask",
       {{"10.0.0.1/8", "2001:db8::1/32", "10.0.0.0/8", "0.0.0.0/0"}, "10.0.0.0/33"}},
      {"Lanx::IpAddrWithMask",
       {{"10.0.0.1/8", "10.0.0.0/8", "10.0.0.0/9", "0.0.0.0/0"}, "10.0.0.0/33"}},
      {"Lanx::Ip6AddrWithMask",
       {{"2001:db8::1/32", "2001:db8::/32", "2001:db8::/33", "::/0"}, "2001:db8::/129"}},
      {"Lanx::Prefix", {{"10.0.0.0/8", "10.0.0.0/9", "10.1.0.0/16", "0.0.0.0/0"}, "10.0.0.1/8"}},
      {"Lanx::Ip6Prefix",
       {{"2001:db8::/32", "2001:db8::/33", "2001:db8:1::/48", "::1/128"}, "2001:db8::1/32"}},
      {"Firewall::Protocol", {{"6", "17", "0", "255"}, "256"}},
      {"Firewall::PortRange", {{"80-443", "80", "53", "0-65535"}, "443-80"}},
      {"Firewall::ProtocolRange", {{"6-17", "6", "17", "0-255"}, "17-6"}},
      {"Firewall::VlanRange", {{"100-200", "100", "1-4094", "200-100"}, "0-100"}},
      {"Firewall::ForwardingTypeMatch", {{"bridged", "routed", "bridged|routed", "none"}, "both"}},
      {"Firewall::ListSource",
       {{"matchList:web", "prefixList:web", "matchList:", "none"}, "webList:web"}},
      {"Classification::PublishedRange<U16>", {{"80-443", "443-80", "80", "0-65535"}, "80-65536"}},
      {"Classification::PublishedRange<U8>", {{"6-17", "17-6", "6", "0-255"}, "6-256"}},
  };
  const auto found = samples.find(withPortableNumbers(std::string(typeName)));
  if (found == samples.end()) {
    throw std::logic_error("no samples of " + std::string(typeName));
  }
  return found->second;
}

}  // namespace

std::vector<std::string> Samples::of(const Kiv::ValueData& value) {
  switch (value.kind) {
    case Kind::boolean:
      return {"true", "false"};
    case Kind::integer:
      return {"1", std::to_string(value.max), std::to_string(value.min), "2"};
    case Kind::enumeration:
      return {std::string(value.names.back()), std::string(value.names.front())};
    case Kind::text:
      return textSamples(value.typeName).values;
    case Kind::record:
      return recordsOf(value);
    case Kind::reference: {
      std::vector<std::string> references;
      while (references.size() < count) {
        referred_.push_back(makeReferred_(value.typeName));
        references.push_back(Kiv::valueToStrep(referred_.back()));
      }
      return references;
    }
  }
  throw std::logic_error("no samples of this kind");
}

std::vector<std::string> Samples::recordsOf(const Kiv::ValueData& record) {
  std::vector<std::string> records(count);
  for (const Kiv::ValueData::Field& field : record.fields) {
    const std::vector<std::string> values = of(*field.value);
    for (std::size_t at = 0; at < count; ++at) {
      std::string& text = records[at];
      if (!text.empty()) text.push_back(',');
      text.append(field.name).push_back('=');
      Kiv::Impl::appendQuoted(text, values[at % values.size()]);
    }
  }
  return records;
}

std::string Samples::malformed(const Kiv::ValueData& value) {
  switch (value.kind) {
    case Kind::boolean:
      return "yes";
    case Kind::integer:
      return "1x";
    case Kind::enumeration:
      return "nosuch";
    case Kind::text:
      return textSamples(value.typeName).malformed;
    case Kind::record:
      return "nosuch=1";
    case Kind::reference:
      return "/nosuch@1";
  }
  throw std::logic_error("no malformed text of this kind");
}

}  // namespace TestSupport
