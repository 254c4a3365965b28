#include "framework/Lanx/Prefix.h"

#include <ostream>

#include "framework/Lanx/AddressText.h"

namespace Lanx {

using AddressText::raiseIf;
using AddressText::readWithLength;

Prefix Prefix::parse(std::string_view text) {
  IpAddr address;
  std::uint8_t length = 0;
  raiseIf(readWithLength(text, address, length), "Lanx::Prefix", text, "192.0.2.0/24");
  return {address, length};
}

Ip6Prefix Ip6Prefix::parse(std::string_view text) {
  Ip6Addr address;
  std::uint8_t length = 0;
  raiseIf(readWithLength(text, address, length), "Lanx::Ip6Prefix", text, "2001:db8::/32");
  return {address, length};
}

IpGenPrefix IpGenPrefix::parse(std::string_view text) {
  IpGenAddr address;
  std::uint8_t length = 0;
  raiseIf(readWithLength(text, address, length), "Lanx::IpGenPrefix", text,
          "192.0.2.0/24 or 2001:db8::/32");
  return {address, length};
}

std::ostream& operator<<(std::ostream& out, const Prefix& prefix) { return out << prefix.subnet(); }
std::ostream& operator<<(std::ostream& out, const Ip6Prefix& prefix) {
  return out << prefix.subnet();
}
std::ostream& operator<<(std::ostream& out, const IpGenPrefix& prefix) {
  return out << prefix.subnet();
}

}  // namespace Lanx
