// Subnets and prefixes of the plain model, by the C library's reading and writing of addresses.
#pragma once

#include <arpa/inet.h>

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

namespace Plain {

enum Family : std::size_t { ipv4, ipv6 };
constexpr std::array<Family, 2> families{ipv4, ipv6};

// An address and the length of its mask; bits behind that may be set. In the order of families,
// addresses and lengths.
struct Subnet {
  Family family = ipv4;
  std::array<std::uint8_t, 16> address{};
  unsigned length = 0;
  auto operator<=>(const Subnet&) const = default;

  static Subnet parse(const std::string& text) {
    const std::size_t slash = text.find('/');
    Subnet subnet;
    subnet.family = text.find(':') == std::string::npos ? ipv4 : ipv6;
    subnet.length = static_cast<unsigned>(std::stoul(text.substr(slash + 1)));
    const std::string address = text.substr(0, slash);
    if (inet_pton(subnet.protocol(), address.c_str(), subnet.address.data()) != 1)
      throw std::invalid_argument(text);
    return subnet;
  }
  std::string toString() const {
    std::array<char, INET6_ADDRSTRLEN> text{};
    inet_ntop(protocol(), address.data(), text.data(), text.size());
    return text.data() + ("/" + std::to_string(length));
  }
  Subnet withoutHostBits() const {
    Subnet result = *this;
    for (unsigned bit = length; bit < 128; ++bit) {
      result.address.at(bit / 8) &= static_cast<std::uint8_t>(~(0x80U >> bit % 8));
    }
    return result;
  }

 private:
  int protocol() const { return family == ipv4 ? AF_INET : AF_INET6; }
};

inline Family familyOf(const Subnet& subnet) { return subnet.family; }

// A subnet without host bits, or none.
class Prefix {
 public:
  Prefix() = default;
  explicit Prefix(const Subnet& subnet) : subnet_(subnet.withoutHostBits()) {}
  explicit operator Subnet() const { return subnet_.value(); }
  auto operator<=>(const Prefix&) const = default;

  static Prefix parse(const std::string& text) { return Prefix(Subnet::parse(text)); }
  std::string toString() const { return subnet_ ? subnet_->toString() : "unset"; }

 private:
  std::optional<Subnet> subnet_;
};

}  // namespace Plain
