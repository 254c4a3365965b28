#include "framework/Lanx/IpAddrWithMask.h"

#include <ostream>

#include "framework/Lanx/AddressText.h"

namespace Lanx {

using AddressText::Buffer;
using AddressText::raiseIf;
using AddressText::readWithLength;

IpAddrWithMask IpAddrWithMask::parse(std::string_view text) {
  IpAddrWithMask subnet;
  raiseIf(readWithLength(text, subnet.address_, subnet.length_), "Lanx::IpAddrWithMask", text,
          "192.0.2.1/24");
  return subnet;
}

Ip6AddrWithMask Ip6AddrWithMask::parse(std::string_view text) {
  Ip6AddrWithMask subnet;
  raiseIf(readWithLength(text, subnet.address_, subnet.length_), "Lanx::Ip6AddrWithMask", text,
          "2001:db8::1/64");
  return subnet;
}

IpGenAddrWithMask IpGenAddrWithMask::parse(std::string_view text) {
  IpGenAddrWithMask subnet;
  raiseIf(readWithLength(text, subnet.address_, subnet.length_), "Lanx::IpGenAddrWithMask", text,
          "192.0.2.1/24 or 2001:db8::1/64");
  return subnet;
}

void IpAddrWithMask::appendTo(std::string& out) const {
  out.append(Buffer(address_, length_).view());
}
void Ip6AddrWithMask::appendTo(std::string& out) const {
  out.append(Buffer(address_, length_).view());
}
void IpGenAddrWithMask::appendTo(std::string& out) const {
  out.append(Buffer(address_, length_).view());
}

std::string IpAddrWithMask::toString() const {
  return std::string(Buffer(address_, length_).view());
}
std::string Ip6AddrWithMask::toString() const {
  return std::string(Buffer(address_, length_).view());
}
std::string IpGenAddrWithMask::toString() const {
  return std::string(Buffer(address_, length_).view());
}

std::ostream& operator<<(std::ostream& out, const IpAddrWithMask& subnet) {
  return out << Buffer(subnet.address(), subnet.length()).view();
}
std::ostream& operator<<(std::ostream& out, const Ip6AddrWithMask& subnet) {
  return out << Buffer(subnet.address(), subnet.length()).view();
}
std::ostream& operator<<(std::ostream& out, const IpGenAddrWithMask& subnet) {
  return out << Buffer(subnet.address(), subnet.length()).view();
}

}  // namespace Lanx
