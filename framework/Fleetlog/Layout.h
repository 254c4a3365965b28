// How a trace file is laid out; for its writer and its decoder alone.
//
//   header       FileHeader, 128 bytes
//   descriptors  frames, one for each trace site that has written; numbered from 1 in their order
//   ring         blocks of blockBytes, each a BlockHeader and then frames, one for each message
//
// All words lie in the byte order of the machine that wrote them, frames and blocks at multiples
// of 8.
//
// A frame is a word (`FrameWord`: its size, its descriptor's number, a check sum) and what follows.
// The word is written last, and the next one is zeroed before it: whoever reads up to the first
// zero word sees whole frames only, whatever the moment the writer is killed at. A block is left
// with the frame `blockEnd`; a block that stops at a zero word otherwise is the newest, or damaged.
//
// Block number n, from 1, lies at (n - 1) % blockCount. Its header has `check` zeroed first and set
// last, so that a block that is being taken into use again is known by a zero `check`.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace Fleetlog::Layout {

inline constexpr std::array<char, 8> magic{'F', 'L', 'E', 'E', 'T', 'L', 'O', 'G'};
inline constexpr std::uint32_t byteOrder = 0x01020304;
inline constexpr std::uint32_t version = 1;
inline constexpr std::size_t wordBytes = 8;

inline constexpr std::size_t blockBytes = 65536;
// A message, its frame word and time included; a message is cut where it does not fit.
inline constexpr std::size_t messageBytesMax = 4096;
// One text value of a message; what is longer is cut.
inline constexpr std::size_t textBytesMax = 1000;
// The texts of a descriptor; what is longer is cut.
inline constexpr std::size_t descriptorTextBytesMax = 2000;
// Block lengths that a decoder takes for sane.
inline constexpr std::size_t blockBytesMax = std::size_t{1} << 30U;

struct FileHeader {
  std::array<char, 8> magic;
  std::uint32_t byteOrder;
  std::uint32_t version;
  std::uint64_t descriptorsAt;
  std::uint64_t descriptorsBytes;
  std::uint64_t ringAt;
  std::uint64_t blockBytes;
  std::uint64_t blockCount;
  std::int64_t realTime;  // nanoseconds since 1970, minus those of the messages' clock
  std::uint64_t processId;
  std::uint64_t check;  // of all above
  std::uint64_t lost;   // messages that were not written
  std::array<std::uint64_t, 5> unused;
};
static_assert(sizeof(FileHeader) == 128);

struct BlockHeader {
  std::uint64_t number;
  std::uint64_t check;
};

// Behind the frame word of a descriptor; then the module's, the signature's and the format's bytes.
struct Descriptor {
  std::uint32_t id;
  std::uint32_t line;
  std::uint16_t moduleBytes;
  std::uint16_t signatureBytes;
  std::uint16_t textBytes;
  std::uint8_t level;
  std::uint8_t signature;
};
static_assert(sizeof(Descriptor) == 16);

struct FrameWord {
  std::uint16_t size;   // with the frame word; the highest bit says that a message was cut
  std::uint16_t index;  // the number of the descriptor
  std::uint32_t check;
};
static_assert(sizeof(FrameWord) == wordBytes);
inline constexpr std::uint16_t cutBit = 0x8000;
inline constexpr std::uint16_t blockEnd = 0xFFFF;  // as index
inline constexpr std::size_t messageHeadBytes = sizeof(FrameWord) + sizeof(std::uint64_t);

// A value begins with a byte: its kind in bits 0 to 2, in bit 3 whether it continues the value
// before, in bits 4 to 7 the number of bytes that follow (`boolean`: the value itself).
enum class Kind : std::uint8_t {
  unsignedInteger = 1,  // the low bytes
  negativeInteger,      // the low bytes of its complement
  boolean,
  text,     // 2 bytes of length, then the text
  cutText,  // likewise, and there was more
  ip4,      // 4 bytes, in the order of the machine
  ip6,      // the high and the low word, likewise
};
inline constexpr std::uint8_t kindMask = 0x07;
inline constexpr std::uint8_t joinedBit = 0x08;
inline constexpr unsigned countShift = 4;

// The check sum. A single wrong word always changes the 64-bit sum; finish() shortens that to 32
// bits, so that one wrong message in 2^32 stays unnoticed.
constexpr std::uint64_t mix(std::uint64_t check, std::uint64_t word) noexcept {
  return std::rotl(check, 23) ^ word;
}
// `size` and `index` as they are in the frame word.
constexpr std::uint32_t finish(std::uint64_t check, std::uint16_t size,
                               std::uint16_t index) noexcept {
  const std::uint64_t all = mix(check, std::uint64_t{size} << 16U | index);
  return static_cast<std::uint32_t>((all * 0xd6e8feb86659fd93ULL) >> 32U);
}

template <class T>
T load(const std::byte* from) noexcept {
  T value;
  std::memcpy(&value, from, sizeof value);
  return value;
}
template <class T>
void store(std::byte* to, const T& value) noexcept {
  std::memcpy(to, &value, sizeof value);
}

// The sum of some bytes, word by word; the last word may overlap the one before. Copies them too
// where `to` is given. Inlined into each trace site, where calling it costs as much as it does.
template <class To>
[[gnu::always_inline]] inline std::uint64_t mixEach(std::uint64_t check, To to,
                                                    const std::byte* from,
                                                    std::size_t size) noexcept {
  const auto step = [&]<class Word>(std::size_t at, Word) __attribute__((always_inline)) {
    const Word word = load<Word>(from + at);
    if constexpr (std::is_pointer_v<To>) store(to + at, word);
    check = mix(check, word);
  };
  if (size >= 8) {
    std::size_t at = 0;
    do {
      step(at, std::uint64_t{});
      at += 8;
    } while (at + 8 <= size);
    if (at < size) step(size - 8, std::uint64_t{});
  } else if (size >= 4) {
    step(0, std::uint32_t{});
    if (size > 4) step(size - 4, std::uint32_t{});
  } else {
    for (std::size_t at = 0; at < size; ++at) step(at, std::uint8_t{});
  }
  return check;
}

inline std::uint64_t mixBytes(std::uint64_t check, const std::byte* from,
                              std::size_t size) noexcept {
  return mixEach(check, nullptr, from, size);
}
[[gnu::always_inline]] inline std::uint64_t copyAndMix(std::uint64_t check, std::byte* to,
                                                       const std::byte* from,
                                                       std::size_t size) noexcept {
  return mixEach(check, to, from, size);
}

inline std::uint64_t blockCheck(std::uint64_t number) noexcept {
  return (number * 0xd6e8feb86659fd93ULL) | 1U;
}

// Instead of a block's check in a copy of the file: the writer had overtaken the copy there.
inline constexpr std::uint64_t overtakenCheck = 2;

constexpr std::size_t padded(std::size_t size) noexcept {
  return (size + wordBytes - 1) / wordBytes * wordBytes;
}

}  // namespace Fleetlog::Layout
