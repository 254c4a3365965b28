// The texts of addresses, subnets, prefixes and interfaces. What is accepted, and as what, is what
// the C library says of the address and plain arithmetic of the length; it is written so that it
// reads the same again.
#include <arpa/inet.h>

#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>

#include "framework/Lanx/IntfId.h"
#include "framework/Lanx/IpAddr.h"
#include "framework/Lanx/IpAddrWithMask.h"
#include "framework/Lanx/Prefix.h"
#include "framework/Pith/RangeException.h"

namespace {

using namespace Lanx;

void expect(bool holds, const char* what, std::string_view text) {
  if (holds) return;
  std::cerr << what << ": \"" << text << "\"\n";
  std::abort();
}

template <class T>
std::optional<T> accepted(std::string_view text) {
  try {
    const T value = T::parse(text);
    const std::string written = value.toString();
    const T again = T::parse(written);
    expect(again == value && again.hash() == value.hash(), "reads otherwise", written);
    expect(again.toString() == written, "is written otherwise", written);
    return value;
  } catch (const Pith::RangeException&) {
    return std::nullopt;
  }
}

// Nothing, where the C library refuses it.
std::optional<IpAddr> oracle4(std::string_view text) {
  in_addr wire{};
  if (text.find('\0') != text.npos) return std::nullopt;
  if (inet_pton(AF_INET, std::string(text).c_str(), &wire) != 1) return std::nullopt;
  return IpAddr(ntohl(wire.s_addr));
}
std::optional<Ip6Addr> oracle6(std::string_view text) {
  Ip6Addr::Bytes bytes{};
  if (text.find('\0') != text.npos) return std::nullopt;
  if (inet_pton(AF_INET6, std::string(text).c_str(), bytes.data()) != 1) return std::nullopt;
  return Ip6Addr(bytes);
}

std::optional<std::uint8_t> lengthOf(std::string_view text, unsigned longest) {
  unsigned length = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), length);
  if (error != std::errc() || end != text.data() + text.size() || length > longest) return {};
  if (text.size() > 1 && text.front() == '0') return {};
  return static_cast<std::uint8_t>(length);
}

template <class Subnet, class Oracle>
std::optional<Subnet> subnetOracle(std::string_view text, const Oracle& oracle, unsigned longest) {
  const std::size_t slash = text.find('/');
  if (slash == text.npos) return std::nullopt;
  const auto address = oracle(text.substr(0, slash));
  const auto length = lengthOf(text.substr(slash + 1), longest);
  if (!address || !length) return std::nullopt;
  return Subnet(*address, *length);
}

// The generic form is the one of the family, the prefix that without host bits.
template <class Subnet, class Prefix>
void checkSubnet(std::string_view text, const std::optional<Subnet>& wanted) {
  expect(accepted<Subnet>(text) == wanted, "subnet", text);
  const auto prefix = accepted<Prefix>(text);
  const bool isPrefix = wanted && wanted->validAsPrefix();
  expect(prefix.has_value() == isPrefix, "prefix", text);
  if (isPrefix) expect(prefix->subnet() == *wanted, "prefix", text);
}

void check(std::string_view text) {
  const auto four = oracle4(text);
  const auto six = oracle6(text);
  expect(accepted<IpAddr>(text) == four, "IPv4 address", text);
  expect(accepted<Ip6Addr>(text) == six, "IPv6 address", text);
  std::optional<IpGenAddr> any;
  if (four) any = *four;
  if (six) any = *six;
  if (text == noAddressText) any = IpGenAddr();
  expect(accepted<IpGenAddr>(text) == any, "address", text);

  auto subnet4 = subnetOracle<IpAddrWithMask>(text, oracle4, 32);
  if (text == unsetText) subnet4 = IpAddrWithMask();
  const auto subnet6 = subnetOracle<Ip6AddrWithMask>(text, oracle6, 128);
  checkSubnet<IpAddrWithMask, Prefix>(text, subnet4);
  checkSubnet<Ip6AddrWithMask, Ip6Prefix>(text, subnet6);
  std::optional<IpGenAddrWithMask> subnet;
  if (subnet4) subnet = *subnet4;
  if (subnet6) subnet = *subnet6;
  expect(accepted<IpGenAddrWithMask>(text) == subnet, "generic subnet", text);
  const auto prefix = accepted<IpGenPrefix>(text);
  expect(prefix.has_value() == subnet.has_value(), "generic prefix", text);
  if (prefix) expect(IpGenAddrWithMask(*prefix) == subnet->subnet(), "generic prefix", text);

  bool isWord = text.size() <= IntfId::maxBytes;
  for (const char c : text) isWord = isWord && static_cast<unsigned char>(c) > ' ' && c != '\x7f';
  const auto intf = accepted<IntfId>(text);
  expect(intf.has_value() == isWord, "interface", text);
  if (intf) expect(intf->shortName().size() <= text.size(), "short name", text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  check({reinterpret_cast<const char*>(data), size});
  return 0;
}
