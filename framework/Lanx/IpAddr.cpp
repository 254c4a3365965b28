#include "framework/Lanx/IpAddr.h"

#include <ostream>

#include "framework/Lanx/AddressText.h"

namespace Lanx {

using AddressText::Buffer;

IpAddr IpAddr::parse(std::string_view text) {
  IpAddr address;
  AddressText::raiseIf(AddressText::read(text, address), "Lanx::IpAddr", text, "192.0.2.1");
  return address;
}

Ip6Addr Ip6Addr::parse(std::string_view text) {
  Ip6Addr address;
  AddressText::raiseIf(AddressText::read(text, address), "Lanx::Ip6Addr", text, "2001:db8::1");
  return address;
}

IpGenAddr IpGenAddr::parse(std::string_view text) {
  IpGenAddr address;
  AddressText::raiseIf(AddressText::read(text, address), "Lanx::IpGenAddr", text,
                       "192.0.2.1, 2001:db8::1 or none");
  return address;
}

void IpAddr::appendTo(std::string& out) const { out.append(Buffer(*this).view()); }
void Ip6Addr::appendTo(std::string& out) const { out.append(Buffer(*this).view()); }
void IpGenAddr::appendTo(std::string& out) const { out.append(Buffer(*this).view()); }

std::string IpAddr::toString() const { return std::string(Buffer(*this).view()); }
std::string Ip6Addr::toString() const { return std::string(Buffer(*this).view()); }
std::string IpGenAddr::toString() const { return std::string(Buffer(*this).view()); }

std::ostream& operator<<(std::ostream& out, IpAddr address) {
  return out << Buffer(address).view();
}
std::ostream& operator<<(std::ostream& out, const Ip6Addr& address) {
  return out << Buffer(address).view();
}
std::ostream& operator<<(std::ostream& out, const IpGenAddr& address) {
  return out << Buffer(address).view();
}

}  // namespace Lanx
