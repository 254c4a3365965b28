// Writes messages into a trace file, one at a time.
//
//   Fleetlog::RingBuf ring(file);
//   if (ring.startMsg(desc)) {
//     ring.put(name).put(seqnum);
//     ring.endMsg();
//   }
//
// Values are written raw: an integer as a byte and the bytes that it needs, a text as its bytes, up
// to 1000 of them. Nothing is formatted until somebody decodes the file. A message of more than 4
// KiB is cut behind the last value that fits. What was started and not ended was never there.
//
// A type of its own offers how it is written:
//
//   template <class Ring>
//   void fleetlogPut(Ring& ring) const { ring.putIp4(address_).put("/").put(length_); }
//
// and all that it puts shows as one value. (A template, so that its header needs nothing of this
// folder; `void fleetlogPut(Fleetlog::RingBuf& ring) const` does as well.)
//
// A RingBuf belongs on the stack of the function that writes: there the compiler keeps its state in
// registers.
#pragma once

#include <ctime>

#include <atomic>
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

#include "framework/Fleetlog/Layout.h"
#include "framework/Fleetlog/MsgDesc.h"
#include "framework/Fleetlog/TraceFile.h"

namespace Fleetlog {

class RingBuf;

template <class T>
concept FleetlogPuts = requires(const T& value, RingBuf& ring) {
  value.fleetlogPut(ring);
};

class RingBuf {
 public:
  explicit RingBuf(TraceFile& file) noexcept : file_(file) {}
  RingBuf(const RingBuf&) = delete;
  RingBuf& operator=(const RingBuf&) = delete;
  ~RingBuf() {
    if (begin_ != nullptr) file_.writing_ = false;
  }

  // False, and the message counts as lost, when the descriptor finds no room, or while another
  // message is being written: values that trace while they are put must not mix with the message
  // they are in.
  [[gnu::always_inline]] bool startMsg(MsgDesc& desc) noexcept {
    if (file_.writing_) [[unlikely]] {
      file_.countLost();
      return false;
    }
    if (desc.registeredWith != file_.serial_ && !file_.registered(desc)) [[unlikely]]
      return false;
    if (file_.next_ > file_.last_) [[unlikely]]
      file_.nextBlock();
    const std::uint64_t time = now();
    file_.writing_ = true;
    begin_ = file_.next_;
    at_ = begin_ + Layout::messageHeadBytes;
    end_ = begin_ + Layout::messageBytesMax;
    index_ = desc.index;
    cutBit_ = 0;
    Layout::store(begin_ + sizeof(Layout::FrameWord), time);
    check_ = Layout::mix(file_.block_, time);
    return true;
  }

  [[gnu::always_inline]] void endMsg() noexcept {
    const auto size = static_cast<std::uint16_t>((at_ - begin_) | cutBit_);
    std::byte* const next = begin_ + Layout::padded(static_cast<std::size_t>(at_ - begin_));
    const Layout::FrameWord word{size, index_, Layout::finish(check_, size, index_)};
    Layout::store(next, std::uint64_t{0});
    std::atomic_ref(*reinterpret_cast<std::uint64_t*>(begin_))
        .store(std::bit_cast<std::uint64_t>(word), std::memory_order_release);
    file_.next_ = next;
    file_.writing_ = false;
    begin_ = nullptr;
  }

  // An integer, bool or character; not what merely turns into one, such as a pointer.
  template <std::integral T>
  [[gnu::always_inline]] RingBuf& put(T value) noexcept {
    if constexpr (std::is_same_v<T, bool>) {
      return putBool(value);
    } else if constexpr (std::is_same_v<T, char>) {
      return put(std::string_view(&value, 1));
    } else if constexpr (std::is_signed_v<T>) {
      const auto wide = static_cast<std::int64_t>(+value);
      const auto sign = static_cast<std::uint64_t>(wide >> 63U);  // all ones when negative
      return putNumber(wide < 0 ? Layout::Kind::negativeInteger : Layout::Kind::unsignedInteger,
                       static_cast<std::uint64_t>(wide) ^ sign);
    } else {
      return putNumber(Layout::Kind::unsignedInteger, value);
    }
  }
  RingBuf& put(const char* text) noexcept {
    return put(text == nullptr ? std::string_view("(null)") : std::string_view(text));
  }
  [[gnu::always_inline]] RingBuf& put(std::string_view text) noexcept {
    auto kind = Layout::Kind::text;
    if (text.size() > Layout::textBytesMax) [[unlikely]] {
      text = text.substr(0, Layout::textBytesMax);
      kind = Layout::Kind::cutText;
    }
    if (!room(textHeadBytes + text.size())) return *this;
    const std::uint64_t tag = tagOf(kind, 0);
    Layout::store(at_, static_cast<std::uint8_t>(tag));
    Layout::store(at_ + 1, static_cast<std::uint16_t>(text.size()));
    mix(tag | std::uint64_t{text.size()} << 8U);
    check_ = Layout::copyAndMix(check_, at_ + textHeadBytes,
                                reinterpret_cast<const std::byte*>(text.data()), text.size());
    at_ += textHeadBytes + text.size();
    return *this;
  }
  template <FleetlogPuts T>
  RingBuf& put(const T& value) {
    const std::uint8_t outer = joinNext_;
    joinNext_ = Layout::joinedBit;
    value.fleetlogPut(*this);
    if (outer != 0) return *this;
    if (join_ == 0) put(std::string_view());
    join_ = joinNext_ = 0;
    return *this;
  }
  // An IPv4 address; 0x0a000001 is 10.0.0.1.
  RingBuf& putIp4(std::uint32_t address) noexcept {
    if (!room(1 + sizeof address)) return *this;
    const std::uint64_t tag = tagOf(Layout::Kind::ip4, sizeof address);
    Layout::store(at_, static_cast<std::uint8_t>(tag));
    Layout::store(at_ + 1, address);
    mix(address | tag << 32U);
    at_ += 1 + sizeof address;
    return *this;
  }
  // An IPv6 address as two numbers; (0x20010db800000000, 1) is 2001:db8::1.
  RingBuf& putIp6(std::uint64_t high, std::uint64_t low) noexcept {
    if (!room(1 + 2 * sizeof high)) return *this;
    const std::uint64_t tag = tagOf(Layout::Kind::ip6, 0);
    Layout::store(at_, static_cast<std::uint8_t>(tag));
    Layout::store(at_ + 1, high);
    Layout::store(at_ + 1 + sizeof high, low);
    mix(tag);
    mix(high);
    mix(low);
    at_ += 1 + 2 * sizeof high;
    return *this;
  }

 private:
  static constexpr std::size_t textHeadBytes = 3;

  // Nanoseconds. The coarse clock moves every few milliseconds but costs a quarter of the exact
  // one: the order of messages is that of the ring.
  static std::uint64_t now() noexcept {
    timespec time;
    clock_gettime(CLOCK_MONOTONIC_COARSE, &time);
    return static_cast<std::uint64_t>(time.tv_sec) * 1'000'000'000U +
           static_cast<std::uint64_t>(time.tv_nsec);
  }

  // Once a value does not fit, none behind it is written.
  [[gnu::always_inline]] bool room(std::size_t size) noexcept {
    if (size <= static_cast<std::size_t>(end_ - at_)) [[likely]]
      return true;
    end_ = at_;
    cutBit_ = Layout::cutBit;
    return false;
  }

  [[gnu::always_inline]] std::uint8_t tagOf(Layout::Kind kind, unsigned count) noexcept {
    const unsigned tag = static_cast<unsigned>(kind) | join_ | count << Layout::countShift;
    join_ = joinNext_;
    return static_cast<std::uint8_t>(tag);
  }
  [[gnu::always_inline]] void mix(std::uint64_t word) noexcept {
    check_ = Layout::mix(check_, word);
  }

  [[gnu::always_inline]] RingBuf& putBool(bool value) noexcept {
    if (!room(1)) return *this;
    const std::uint64_t tag = tagOf(Layout::Kind::boolean, value ? 1 : 0);
    Layout::store(at_, static_cast<std::uint8_t>(tag));
    mix(tag);
    at_ += 1;
    return *this;
  }
  [[gnu::always_inline]] RingBuf& putNumber(Layout::Kind kind, std::uint64_t value) noexcept {
    if (!room(1 + sizeof value)) return *this;
    const auto bytes = (static_cast<unsigned>(std::bit_width(value | 1U)) + 7U) / 8U;
    const std::uint64_t tag = tagOf(kind, bytes);
    Layout::store(at_, static_cast<std::uint8_t>(tag));
    Layout::store(at_ + 1, value);  // the bytes above are overwritten by what follows
    mix(value + std::rotr(tag, 8));
    at_ += 1 + bytes;
    return *this;
  }

  TraceFile& file_;
  std::byte* begin_ = nullptr;  // of the message that is being written
  std::byte* at_ = nullptr;
  std::byte* end_ = nullptr;  // of what it may take
  std::uint64_t check_ = 0;
  std::uint16_t index_ = 0;
  std::uint16_t cutBit_ = 0;
  std::uint8_t join_ = 0;      // joinedBit when the next piece continues a value
  std::uint8_t joinNext_ = 0;  // what it becomes with the next piece
};

}  // namespace Fleetlog
