// Hashing: a pure function of the value, the same on every machine and build, so that nothing that
// depends on it (the order of a probe, a recorded figure) differs between two runs.
//
//   std::uint64_t h = Pith::hashOf(key);
//
// A type of ours offers `std::uint64_t hash() const`; integers, enumerations and bool are built in.
// The mix is the 128-bit multiply-fold of wyhash (public domain, Wang Yi).
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace Pith {

inline std::uint64_t hashMix(std::uint64_t a, std::uint64_t b) noexcept {
  __extension__ using U128 = unsigned __int128;
  const U128 product = static_cast<U128>(a) * b;
  return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64U);
}

// Two hashes made one; the order counts.
inline std::uint64_t hashCombine(std::uint64_t first, std::uint64_t second) noexcept {
  return hashMix(first ^ 0xa0761d6478bd642fULL, second ^ 0xe7037ed1a0b428dbULL);
}

// `size` bytes from `data` (little-endian machines: the words are read as they lie).
inline std::uint64_t hashBytes(const void* data, std::size_t size) noexcept {
  const auto* p = static_cast<const unsigned char*>(data);
  std::uint64_t h = hashMix(size ^ 0x8ebc6af09c88c6e3ULL, 0x589965cc75374cc3ULL);
  std::uint64_t word = 0;
  for (; size >= sizeof word; p += sizeof word, size -= sizeof word) {
    std::memcpy(&word, p, sizeof word);
    h = hashCombine(h, word);
  }
  if (size > 0) {
    word = 0;
    std::memcpy(&word, p, size);
    h = hashCombine(h, word);
  }
  return h;
}

template <class T>
std::uint64_t hashOf(const T& value) noexcept {
  if constexpr (std::is_enum_v<T> || std::is_integral_v<T>) {
    return hashMix(static_cast<std::uint64_t>(value) ^ 0xa0761d6478bd642fULL,
                   0xe7037ed1a0b428dbULL);
  } else {
    return value.hash();
  }
}

}  // namespace Pith
