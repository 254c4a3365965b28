// What the tests of this folder share: the C library as the oracle of address texts, naive masks
// that look at one bit after the other, and random texts that are nearly right.
#pragma once

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <string_view>

#include "framework/Lanx/IpAddr.h"
#include "framework/Pith/RangeException.h"

namespace LanxTest {

using Random = std::mt19937_64;

inline unsigned below(Random& random, unsigned limit) {
  return static_cast<unsigned>(random() % limit);
}

// What parse() raises for `text`, or "accepted".
template <class T>
std::string refusal(std::string_view text) {
  try {
    T::parse(text);
    return "accepted";
  } catch (const Pith::RangeException& error) {
    return error.what();
  }
}

// What making a T of `arguments` raises, or "nothing".
template <class T, class... Arguments>
std::string raisedFor(Arguments... arguments) {
  try {
    T{arguments...};
    return "nothing";
  } catch (const Pith::RangeException& error) {
    return error.what();
  }
}

// The value of `text`, or nothing where it is refused.
template <class T>
std::optional<T> accepted(std::string_view text) {
  try {
    return T::parse(text);
  } catch (const Pith::RangeException&) {
    return std::nullopt;
  }
}

inline std::optional<Lanx::IpAddr> oracleOf(const std::string& text, const Lanx::IpAddr*) {
  in_addr address{};
  if (inet_pton(AF_INET, text.c_str(), &address) != 1) return std::nullopt;
  return Lanx::IpAddr(ntohl(address.s_addr));
}

inline std::optional<Lanx::Ip6Addr> oracleOf(const std::string& text, const Lanx::Ip6Addr*) {
  Lanx::Ip6Addr::Bytes bytes{};
  if (inet_pton(AF_INET6, text.c_str(), bytes.data()) != 1) return std::nullopt;
  return Lanx::Ip6Addr(bytes);
}

inline std::string oracleText(Lanx::IpAddr address) {
  const in_addr wire{htonl(address.value())};
  std::array<char, INET_ADDRSTRLEN> text{};
  return inet_ntop(AF_INET, &wire, text.data(), text.size());
}

inline std::string oracleText(const Lanx::Ip6Addr& address) {
  std::array<char, INET6_ADDRSTRLEN> text{};
  return inet_ntop(AF_INET6, address.bytes().data(), text.data(), text.size());
}

// The bytes of the wire, masked one bit after the other.
template <std::size_t Size>
std::array<std::uint8_t, Size> naivelyMasked(std::array<std::uint8_t, Size> bytes,
                                             unsigned length) {
  for (unsigned bit = length; bit < 8 * Size; ++bit) {
    bytes[bit / 8] = static_cast<std::uint8_t>(bytes[bit / 8] & ~(0x80U >> bit % 8));
  }
  return bytes;
}

// Words that are often all zeros or all ones, since runs of them are what masks and "::" are about.
inline std::uint64_t randomWord(Random& random) {
  std::uint64_t word = 0;
  for (unsigned group = 0; group < 4; ++group) {
    const std::uint64_t kind = random() % 4;
    const std::uint64_t bits = random();
    word = word << 16U | (kind < 2    ? 0
                          : kind == 2 ? bits & 0xFFFFU
                                      : (bits % 3 == 0 ? 0xFFFFU : bits & 0xFFU));
  }
  return word;
}

inline Lanx::IpAddr randomAddress(Random& random, const Lanx::IpAddr*) {
  return Lanx::IpAddr(static_cast<std::uint32_t>(random() >> below(random, 33)));
}

inline Lanx::Ip6Addr randomAddress(Random& random, const Lanx::Ip6Addr*) {
  const std::uint64_t high = randomWord(random);
  return {high, randomWord(random)};
}

// `text` with a few characters inserted, dropped or changed.
inline std::string mutated(std::string text, Random& random) {
  constexpr std::string_view characters = "0123456789abcdefABCDEFgGxX::::....//+- \n";
  for (unsigned count = below(random, 4); count > 0; --count) {
    const char c = characters[below(random, static_cast<unsigned>(characters.size()))];
    const std::size_t at = random() % (text.size() + 1);
    const unsigned kind = below(random, 3);
    if (kind == 0 || at == text.size()) {
      text.insert(at, 1, c);
    } else if (kind == 1) {
      text.erase(at, 1);
    } else {
      text[at] = c;
    }
  }
  return text;
}

// A text of address characters without any order.
inline std::string garbage(Random& random) {
  constexpr std::string_view characters = "0123456789abcdef::::::....//";
  std::string text;
  for (unsigned count = below(random, 24); count > 0; --count) {
    text += characters[below(random, static_cast<unsigned>(characters.size()))];
  }
  return text;
}

}  // namespace LanxTest
