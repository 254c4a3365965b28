#include "framework/Lanx/AddressText.h"

#include <algorithm>

#include "framework/Pith/Printable.h"
#include "framework/Pith/RangeException.h"

namespace Lanx::AddressText {
namespace {

constexpr std::size_t groupCount = 8;
using Groups = std::array<std::uint16_t, groupCount>;

constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }

// The value of a hexadecimal digit, or 16 for anything else.
constexpr unsigned hexValue(char c) {
  if (isDigit(c)) return static_cast<unsigned>(c - '0');
  if (c >= 'a' && c <= 'f') return static_cast<unsigned>(c - 'a') + 10;
  if (c >= 'A' && c <= 'F') return static_cast<unsigned>(c - 'A') + 10;
  return 16;
}

char* copy(char* out, std::string_view text) { return std::copy(text.begin(), text.end(), out); }

char* writeDecimal(char* out, unsigned value) {
  if (value >= 100) *out++ = static_cast<char>('0' + value / 100);
  if (value >= 10) *out++ = static_cast<char>('0' + value / 10 % 10);
  *out++ = static_cast<char>('0' + value % 10);
  return out;
}

char* writeHexadecimal(char* out, unsigned group) {
  constexpr char digits[] = "0123456789abcdef";
  if (group >= 0x1000) *out++ = digits[group >> 12U];
  if (group >= 0x100) *out++ = digits[group >> 8U & 0xFU];
  if (group >= 0x10) *out++ = digits[group >> 4U & 0xFU];
  *out++ = digits[group & 0xFU];
  return out;
}

Groups groupsOf(const Ip6Addr& address) {
  Groups groups;
  for (std::size_t i = 0; i < groupCount; ++i) {
    const std::uint64_t word = i < 4 ? address.high() : address.low();
    groups[i] = static_cast<std::uint16_t>(word >> (48U - 16U * (i % 4)));
  }
  return groups;
}

Ip6Addr addressOf(const Groups& groups) {
  std::uint64_t high = 0;
  std::uint64_t low = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    high = high << 16U | groups[i];
    low = low << 16U | groups[i + 4];
  }
  return {high, low};
}

struct Run {
  std::size_t begin = 0;
  std::size_t length = 0;
};

// The run that "::" stands for: the longest, the first of equals, never one group (RFC 5952 4.2).
Run longestZeroRun(const Groups& groups) {
  Run best;
  Run current;
  for (std::size_t i = 0; i < groupCount; ++i) {
    current = groups[i] == 0 ? Run{current.begin, current.length + 1} : Run{i + 1, 0};
    if (current.length > best.length) best = current;
  }
  return best.length > 1 ? best : Run{groupCount, 0};
}

Fault readLength(std::string_view text, unsigned bits, std::uint8_t& length) {
  if (text.empty()) return "the length after the '/' is missing";
  if (text.size() > 3 || !std::all_of(text.begin(), text.end(), isDigit)) {
    return "the length is not a decimal number of at most three digits";
  }
  if (text.size() > 1 && text.front() == '0') return "the length has a leading zero";
  unsigned value = 0;
  for (const char c : text) value = value * 10 + static_cast<unsigned>(c - '0');
  if (value > bits) {
    return bits == IpAddr::bits ? "the length is above 32" : "the length is above 128";
  }
  length = static_cast<std::uint8_t>(value);
  return nullptr;
}

template <class Address>
Fault readAddressAndLength(std::string_view text, Address& address, std::uint8_t& length) {
  const std::size_t slash = text.find('/');
  const Fault fault = read(text.substr(0, slash), address);
  if (fault != nullptr) return fault;
  if (slash == std::string_view::npos) return "the '/' and the length are missing";
  return readLength(text.substr(slash + 1), Address::bits, length);
}

bool readUnset(std::string_view text, IpAddr& address, std::uint8_t& length) {
  if (text != unsetText) return false;
  address = IpAddr();
  length = unsetLength;
  return true;
}

bool isIpv6(std::string_view text) { return text.find(':') != std::string_view::npos; }

}  // namespace

Fault read(std::string_view text, IpAddr& address) {
  std::uint32_t value = 0;
  std::size_t at = 0;
  for (unsigned octet = 0; octet < 4; ++octet) {
    if (octet > 0 && (at == text.size() || text[at++] != '.'))
      return "four numbers are not joined by dots";
    const std::size_t begin = at;
    unsigned number = 0;
    for (; at < text.size() && isDigit(text[at]); ++at) {
      number = number * 10 + static_cast<unsigned>(text[at] - '0');
      if (number > 255) return "a number is above 255";
    }
    if (at == begin) return "a number is missing";
    if (at - begin > 1 && text[begin] == '0') return "a number has a leading zero";
    value = value << 8U | number;
  }
  if (at != text.size()) return "something follows the fourth number";
  address = IpAddr(value);
  return nullptr;
}

Fault read(std::string_view text, Ip6Addr& address) {
  Groups groups{};
  std::size_t count = 0;
  std::size_t gap = groupCount + 1;  // the number of groups before "::"; more than there are: none
  std::size_t at = 0;
  if (text.starts_with("::")) {
    gap = 0;
    at = 2;
  }
  while (at < text.size()) {
    const std::size_t begin = at;
    unsigned group = 0;
    for (; at < text.size() && hexValue(text[at]) < 16; ++at) {
      if (at - begin == 4) return "a group has more than four digits";
      group = group * 16 + hexValue(text[at]);
    }
    if (at < text.size() && text[at] == '.') {
      IpAddr last;
      if (const Fault fault = read(text.substr(begin), last); fault != nullptr) return fault;
      if (count > groupCount - 2) return "there are more than eight groups";
      groups[count++] = static_cast<std::uint16_t>(last.value() >> 16U);
      groups[count++] = static_cast<std::uint16_t>(last.value());
      break;
    }
    if (at == begin) return "a group of hexadecimal digits is missing";
    if (count == groupCount) return "there are more than eight groups";
    groups[count++] = static_cast<std::uint16_t>(group);
    if (at == text.size()) break;
    if (text[at++] != ':') return "a group has something other than hexadecimal digits";
    if (at == text.size()) return "it ends in a single ':'";
    if (text[at] != ':') continue;
    if (gap <= groupCount) return "'::' stands twice";
    gap = count;
    ++at;
  }
  if (gap > groupCount) {
    if (count < groupCount) return "there are fewer than eight groups and no '::'";
  } else {
    if (count == groupCount) return "'::' stands for no group";
    const auto begin = groups.begin();
    std::rotate(begin + static_cast<std::ptrdiff_t>(gap),
                begin + static_cast<std::ptrdiff_t>(count), groups.end());
  }
  address = addressOf(groups);
  return nullptr;
}

Fault read(std::string_view text, IpGenAddr& address) {
  if (text == noAddressText) {
    address = IpGenAddr();
    return nullptr;
  }
  IpAddr ipv4;
  Ip6Addr ipv6;
  const bool six = isIpv6(text);
  const Fault fault = six ? read(text, ipv6) : read(text, ipv4);
  address = six ? IpGenAddr(ipv6) : IpGenAddr(ipv4);
  return fault;
}

Fault readWithLength(std::string_view text, IpAddr& address, std::uint8_t& length) {
  return readUnset(text, address, length) ? nullptr : readAddressAndLength(text, address, length);
}

Fault readWithLength(std::string_view text, Ip6Addr& address, std::uint8_t& length) {
  return readAddressAndLength(text, address, length);
}

Fault readWithLength(std::string_view text, IpGenAddr& address, std::uint8_t& length) {
  IpAddr ipv4;
  Ip6Addr ipv6;
  const bool six = isIpv6(text);
  const Fault fault = six ? readWithLength(text, ipv6, length) : readWithLength(text, ipv4, length);
  address = six ? IpGenAddr(ipv6) : IpGenAddr(ipv4);
  return fault;
}

char* write(char* out, IpAddr address) {
  const std::uint32_t value = address.value();
  out = writeDecimal(out, value >> 24U);
  for (unsigned shift = 24; shift > 0;) {
    shift -= 8;
    *out++ = '.';
    out = writeDecimal(out, value >> shift & 0xFFU);
  }
  return out;
}

char* write(char* out, const Ip6Addr& address) {
  constexpr std::uint64_t mapped = 0xFFFF;
  if (address.high() == 0 && address.low() >> 32U == mapped) {
    return write(copy(out, "::ffff:"), IpAddr(static_cast<std::uint32_t>(address.low())));
  }
  const Groups groups = groupsOf(address);
  const Run zeros = longestZeroRun(groups);
  for (std::size_t i = 0; i < groupCount;) {
    if (i == zeros.begin) {
      out = copy(out, "::");
      i += zeros.length;
    } else {
      if (i > 0 && i != zeros.begin + zeros.length) *out++ = ':';
      out = writeHexadecimal(out, groups[i++]);
    }
  }
  return out;
}

char* write(char* out, const IpGenAddr& address) {
  switch (address.family()) {
    case AddressFamily::ipv4:
      return write(out, address.ipv4());
    case AddressFamily::ipv6:
      return write(out, address.ipv6());
    case AddressFamily::unspecified:
      break;
  }
  return copy(out, noAddressText);
}

char* writeLength(char* out, std::uint8_t length) {
  *out++ = '/';
  return writeDecimal(out, length);
}

char* writeUnset(char* out) { return copy(out, unsetText); }

void raiseIf(Fault fault, std::string_view type, std::string_view given, std::string_view example) {
  constexpr std::size_t shown = 64;
  if (fault == nullptr) return;
  std::string text(type);
  text += "::text \"";
  Pith::appendPrintable(text, given.substr(0, shown));
  text.append(given.size() > shown ? "\"..." : "\"").append(" not allowed: ").append(fault);
  throw Pith::RangeException(text.append("; write it like ").append(example));
}

}  // namespace Lanx::AddressText
