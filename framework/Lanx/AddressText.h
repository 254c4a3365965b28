// The text forms that the address types share: readers, writers and the refusal of what is
// malformed. For the .cpp files of this folder; everybody else uses parse() and appendTo() of the
// types.
//
// A reader returns what is wrong with the text, or nullptr when it has read all of it; the value is
// meaningful only then. A writer needs room for `longest` bytes and returns where it stopped.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "framework/Lanx/IpAddr.h"
#include "framework/Lanx/IpAddrWithMask.h"

namespace Lanx::AddressText {

using Fault = const char*;

// An IPv6 address of eight full groups, with "/128".
inline constexpr std::size_t longest = 43;

Fault read(std::string_view text, IpAddr& address);
Fault read(std::string_view text, Ip6Addr& address);
Fault read(std::string_view text, IpGenAddr& address);
// Address, '/', length; "unset" is read where the address may be IPv4.
Fault readWithLength(std::string_view text, IpAddr& address, std::uint8_t& length);
Fault readWithLength(std::string_view text, Ip6Addr& address, std::uint8_t& length);
Fault readWithLength(std::string_view text, IpGenAddr& address, std::uint8_t& length);

char* write(char* out, IpAddr address);
char* write(char* out, const Ip6Addr& address);
char* write(char* out, const IpGenAddr& address);
char* writeLength(char* out, std::uint8_t length);
char* writeUnset(char* out);

// Raises `Lanx::IpAddr::text "1.2" not allowed: <fault>; write it like 192.0.2.1` if there is a
// fault. What was given is shown in one line, and cut when it is long.
void raiseIf(Fault fault, std::string_view type, std::string_view given, std::string_view example);

// A value's text on the stack, for a string or a stream.
class Buffer {
 public:
  explicit Buffer(IpAddr address) : end_(write(text_.data(), address)) {}
  explicit Buffer(const Ip6Addr& address) : end_(write(text_.data(), address)) {}
  explicit Buffer(const IpGenAddr& address) : end_(write(text_.data(), address)) {}
  template <class Address>
  Buffer(const Address& address, std::uint8_t length) {
    end_ = length == unsetLength ? writeUnset(text_.data())
                                 : writeLength(write(text_.data(), address), length);
  }
  Buffer(const Buffer&) = delete;
  Buffer& operator=(const Buffer&) = delete;

  std::string_view view() const noexcept {
    return {text_.data(), static_cast<std::size_t>(end_ - text_.data())};
  }

 private:
  std::array<char, longest> text_;
  char* end_;
};

}  // namespace Lanx::AddressText
