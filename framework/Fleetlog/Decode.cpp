#include "framework/Fleetlog/Decode.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <unordered_map>
#include <utility>

#include "framework/Fleetlog/Function.h"
#include "framework/Fleetlog/Layout.h"
#include "framework/Lanx/IpAddr.h"

namespace Fleetlog {
namespace {

using namespace Layout;
using Bytes = std::span<const std::byte>;

std::string_view textOf(Bytes bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

struct Site {
  std::uint32_t id = 0;
  std::uint32_t line = 0;
  int level = 0;
  bool withSignature = false;
  std::string_view module;
  std::string_view signature;
  std::string_view shortName;
  std::string_view text;
};

// The values of a message, read one after the other with the sum that the writer made of them.
class Values {
 public:
  Values(Bytes bytes, std::uint64_t check) : bytes_(bytes), check_(check) {}

  bool empty() const { return bytes_.empty(); }
  std::uint64_t check() const { return check_; }
  bool joined() const { return (load<std::uint8_t>(bytes_.data()) & joinedBit) != 0; }

  // Takes the next piece and appends its text where `out` is given. False when it is not one.
  bool take(std::string* out) {
    const auto tag = load<std::uint8_t>(bytes_.data());
    const auto count = static_cast<std::size_t>(tag >> countShift);
    bytes_ = bytes_.subspan(1);
    switch (static_cast<Kind>(tag & kindMask)) {
      case Kind::unsignedInteger:
        return takeInteger(tag, count, out, false);
      case Kind::negativeInteger:
        return takeInteger(tag, count, out, true);
      case Kind::boolean:
        mix(tag);
        if (out != nullptr) out->append(count != 0 ? "true" : "false");
        return count <= 1;
      case Kind::text:
        return takeText(tag, out, "");
      case Kind::cutText:
        return takeText(tag, out, "...");
      case Kind::ip4:
        return takeIp4(tag, count, out);
      case Kind::ip6:
        return takeIp6(tag, count, out);
    }
    return false;
  }

 private:
  void mix(std::uint64_t word) { check_ = Layout::mix(check_, word); }

  bool takeInteger(std::uint64_t tag, std::size_t count, std::string* out, bool negative) {
    std::uint64_t value = 0;
    if (count == 0 || count > sizeof value || count > bytes_.size()) return false;
    for (std::size_t i = 0; i < count; ++i) {
      const std::size_t at = std::endian::native == std::endian::little ? count - 1 - i : i;
      value = value << 8U | load<std::uint8_t>(&bytes_[at]);
    }
    bytes_ = bytes_.subspan(count);
    mix(value + std::rotr(tag, 8));
    if (negative && value > std::uint64_t{std::numeric_limits<std::int64_t>::max()}) return false;
    if (out == nullptr) return true;
    if (negative) {
      out->append(std::to_string(-static_cast<std::int64_t>(value) - 1));
    } else {
      out->append(std::to_string(value));
    }
    return true;
  }

  bool takeText(std::uint64_t tag, std::string* out, std::string_view behind) {
    if (bytes_.size() < sizeof(std::uint16_t)) return false;
    const std::size_t size = load<std::uint16_t>(bytes_.data());
    bytes_ = bytes_.subspan(sizeof(std::uint16_t));
    if (size > bytes_.size()) return false;
    mix(tag | std::uint64_t{size} << 8U);
    check_ = mixBytes(check_, bytes_.data(), size);
    if (out != nullptr) out->append(textOf(bytes_.first(size))).append(behind);
    bytes_ = bytes_.subspan(size);
    return true;
  }

  bool takeIp4(std::uint64_t tag, std::size_t count, std::string* out) {
    if (count != sizeof(std::uint32_t) || count > bytes_.size()) return false;
    const auto address = load<std::uint32_t>(bytes_.data());
    bytes_ = bytes_.subspan(count);
    mix(address | tag << 32U);
    if (out != nullptr) Lanx::IpAddr(address).appendTo(*out);
    return true;
  }

  bool takeIp6(std::uint64_t tag, std::size_t count, std::string* out) {
    if (count != 0 || bytes_.size() < 2 * wordBytes) return false;
    const auto high = load<std::uint64_t>(bytes_.data());
    const auto low = load<std::uint64_t>(bytes_.data() + wordBytes);
    bytes_ = bytes_.subspan(2 * wordBytes);
    mix(tag);
    mix(high);
    mix(low);
    if (out != nullptr) Lanx::Ip6Addr(high, low).appendTo(*out);
    return true;
  }

  Bytes bytes_;
  std::uint64_t check_;
};

// Appends one value: a piece and those that continue it.
void appendValue(std::string& out, Values& values) {
  values.take(&out);
  while (!values.empty() && values.joined()) values.take(&out);
}

// A message whose check sum is right, as text.
void appendMessage(std::string& out, const Site& site, Values values, bool cut) {
  constexpr std::string_view placeholder = "%s";
  if (site.withSignature) out.append(site.signature);
  std::string_view text = site.text;
  while (true) {
    const std::size_t at = text.find(placeholder);
    out.append(text.substr(0, at));
    if (at == std::string_view::npos) break;
    text.remove_prefix(at + placeholder.size());
    if (!values.empty()) {
      appendValue(out, values);
    } else {
      out.append(cut ? "..." : placeholder);
    }
  }
  while (!values.empty()) {
    out.push_back(' ');
    appendValue(out, values);
  }
}

class Decoder {
 public:
  Decoder(Bytes file, const Visit& visit) : file_(file), visit_(visit) {}

  Decoded run() {
    if (readHeader()) {
      readSites();
      readRing();
    }
    return std::move(result_);
  }

 private:
  void fault(std::size_t at, std::string text) {
    if (result_.faults.size() < Decoded::faultsMax) result_.faults.push_back({at, std::move(text)});
    ++result_.faultCount;
  }

  // What there is of the bytes [at, at + size).
  Bytes part(std::size_t at, std::size_t size) const {
    if (at >= file_.size()) return {};
    return file_.subspan(at, std::min(size, file_.size() - at));
  }

  bool readHeader() {
    if (file_.size() < sizeof(FileHeader)) {
      fault(0, "not a trace file, or cut: " + std::to_string(file_.size()) +
                   " bytes, less than a header has");
      return false;
    }
    header_ = load<FileHeader>(file_.data());
    if (header_.magic != magic) {
      fault(0,
            "not a trace file: it does not begin with " + std::string(magic.data(), magic.size()));
      return false;
    }
    if (header_.byteOrder != byteOrder) {
      fault(offsetof(FileHeader, byteOrder),
            "written on a machine of the other byte order, or damaged");
      return false;
    }
    if (header_.version != version) {
      fault(offsetof(FileHeader, version),
            "version " + std::to_string(header_.version) + " is not known");
      return false;
    }
    if (mixBytes(0, file_.data(), offsetof(FileHeader, check)) != header_.check) {
      fault(offsetof(FileHeader, check), "the header is damaged: wrong check sum");
      return false;
    }
    if (!sizesAreSane()) {
      fault(offsetof(FileHeader, descriptorsAt), "the sizes in the header cannot be right");
      return false;
    }
    const std::size_t whole = header_.ringAt + header_.blockBytes * header_.blockCount;
    if (file_.size() < whole) {
      fault(file_.size(), "the file is cut: it should have " + std::to_string(whole) + " bytes");
    }
    result_.lost = header_.lost;
    result_.processId = header_.processId;
    return true;
  }

  bool sizesAreSane() const {
    constexpr std::uint64_t max = std::uint64_t{1} << 41U;
    return header_.descriptorsAt == sizeof(FileHeader) && header_.descriptorsBytes < max &&
           header_.ringAt == header_.descriptorsAt + header_.descriptorsBytes &&
           header_.ringAt % wordBytes == 0 && header_.blockBytes % wordBytes == 0 &&
           header_.blockBytes > sizeof(BlockHeader) && header_.blockBytes <= blockBytesMax &&
           header_.blockCount > 0 && header_.blockCount <= max / header_.blockBytes;
  }

  static std::size_t sizeOf(FrameWord frame) { return frame.size & ~unsigned{cutBit}; }

  // The frame at `at` when it lies in `bytes` and is not larger than `sizeMax`.
  static std::optional<FrameWord> frameAt(Bytes bytes, std::size_t at, std::size_t sizeMax) {
    const auto word = load<FrameWord>(&bytes[at]);
    const std::size_t size = sizeOf(word);
    if (size < sizeof(FrameWord) || size > sizeMax || size > bytes.size() - at) return std::nullopt;
    return word;
  }

  static bool isZero(Bytes bytes, std::size_t at) { return load<std::uint64_t>(&bytes[at]) == 0; }

  enum class Step { next, damaged, stop };

  // Walks the frames of `bytes`, which lie at `offset` of the file, up to a zero word. `use(frame,
  // at)` says how to go on; behind what is damaged, which is one fault, the next whole frame is
  // searched.
  template <class Use>
  void eachFrame(Bytes bytes, std::size_t offset, std::size_t sizeMax, const char* what, Use use) {
    bool searching = false;
    std::size_t at = 0;
    while (at + wordBytes <= bytes.size()) {
      if (!searching && isZero(bytes, at)) return;
      const auto frame = frameAt(bytes, at, sizeMax);
      const Step step = frame ? use(*frame, at) : Step::damaged;
      if (step == Step::stop) return;
      if (step == Step::damaged && !searching && !isCut(offset + bytes.size())) {
        fault(offset + at, std::string(what) + " is damaged");
      }
      searching = step == Step::damaged;
      at += searching ? wordBytes : padded(sizeOf(*frame));
    }
  }

  // Whether the file ends at `end` although it should not: what breaks off there is no further
  // fault.
  bool isCut(std::size_t end) const {
    return end == file_.size() && end < header_.ringAt + header_.blockBytes * header_.blockCount;
  }

  void readSites() {
    constexpr std::size_t sizeMax =
        sizeof(FrameWord) + sizeof(Descriptor) + textBytesMax + 2 * descriptorTextBytesMax;
    const Bytes bytes = part(header_.descriptorsAt, header_.descriptorsBytes);
    eachFrame(bytes, header_.descriptorsAt, sizeMax, "a descriptor",
              [&](FrameWord frame, std::size_t at) {
                const Bytes body = bytes.subspan(at, sizeOf(frame)).subspan(sizeof(FrameWord));
                return readSite(frame, body) ? Step::next : Step::damaged;
              });
  }

  bool readSite(FrameWord frame, Bytes body) {
    if (body.size() < sizeof(Descriptor)) return false;
    if (finish(mixBytes(0, body.data(), body.size()), frame.size, frame.index) != frame.check)
      return false;
    const auto desc = load<Descriptor>(body.data());
    std::string_view texts = textOf(body.subspan(sizeof(Descriptor)));
    if (texts.size() != std::size_t{desc.moduleBytes} + desc.signatureBytes + desc.textBytes)
      return false;
    const auto take = [&](std::size_t size) {
      const std::string_view text = texts.substr(0, size);
      texts.remove_prefix(size);
      return text;
    };
    Site site;
    site.id = desc.id;
    site.line = desc.line;
    site.level = desc.level;
    site.withSignature = desc.signature != 0;
    site.module = take(desc.moduleBytes);
    site.signature = take(desc.signatureBytes);
    site.shortName = shortNameOf(site.signature);
    site.text = take(desc.textBytes);
    sites_.insert_or_assign(frame.index, site);
    return true;
  }

  std::size_t blockAt(std::uint64_t slot) const {
    return header_.ringAt + slot * header_.blockBytes;
  }

  void readRing() {
    // The numbers of the blocks that are there, in the order of writing.
    std::vector<std::uint64_t> numbers;
    // The slots of the others, with what their heads say.
    std::vector<std::pair<std::uint64_t, BlockHeader>> others;
    for (std::uint64_t slot = 0; slot < header_.blockCount; ++slot) {
      const Bytes bytes = part(blockAt(slot), sizeof(BlockHeader));
      if (bytes.size() < sizeof(BlockHeader)) break;
      const auto head = load<BlockHeader>(bytes.data());
      if (head.number != 0 && head.check == blockCheck(head.number) &&
          (head.number - 1) % header_.blockCount == slot) {
        numbers.push_back(head.number);
      } else {
        others.emplace_back(slot, head);
      }
    }
    std::sort(numbers.begin(), numbers.end());
    const std::uint64_t newest = numbers.empty() ? 0 : numbers.back();
    for (const auto& [slot, head] : others) {
      if (!mayBe(head, slot, newest)) fault(blockAt(slot), "the head of a block is damaged");
    }
    for (const std::uint64_t number : numbers) readBlock(number, number == newest);
  }

  // Whether a writer that wrote `newest` last can have left such a head, without a block behind it.
  bool mayBe(const BlockHeader& head, std::uint64_t slot, std::uint64_t newest) const {
    if (head.number == 0 && head.check == overtakenCheck) return true;
    if (head.check != 0) return false;
    if (head.number == 0) return slot >= newest;  // never used
    const std::uint64_t next = newest + 1;        // its slot is being taken into use
    return head.number == next || head.number + header_.blockCount == next;
  }

  void readBlock(std::uint64_t number, bool newest) {
    const std::size_t blockBegin = blockAt((number - 1) % header_.blockCount);
    const std::size_t begin = blockBegin + sizeof(BlockHeader);
    const Bytes bytes = part(begin, header_.blockBytes - sizeof(BlockHeader));
    bool ended = false;
    std::size_t stop = 0;  // behind the last whole message
    eachFrame(bytes, begin, messageBytesMax, "a message", [&](FrameWord frame, std::size_t at) {
      if (frame.index == blockEnd) {
        ended = isEnd(frame, number);
        return ended ? Step::stop : Step::damaged;
      }
      if (!readMessage(frame, number, bytes.subspan(at, sizeOf(frame)))) return Step::damaged;
      stop = at + padded(sizeOf(frame));
      return Step::next;
    });
    if (!newest && !ended && !isCut(begin + bytes.size())) {
      fault(begin + stop, "the end of a block is missing");
    }
  }

  static bool isEnd(FrameWord frame, std::uint64_t number) {
    return frame.size == sizeof(FrameWord) &&
           frame.check == finish(mix(0, number), frame.size, frame.index);
  }

  bool readMessage(FrameWord frame, std::uint64_t number, Bytes bytes) {
    if (bytes.size() < messageHeadBytes) return false;
    const auto time = load<std::uint64_t>(&bytes[sizeof(FrameWord)]);
    const Values values(bytes.subspan(messageHeadBytes), mix(number, time));
    Values checked = values;
    while (!checked.empty()) {
      if (!checked.take(nullptr)) return false;
    }
    if (finish(checked.check(), frame.size, frame.index) != frame.check) return false;

    const std::size_t at = static_cast<std::size_t>(bytes.data() - file_.data());
    const auto found = sites_.find(frame.index);
    if (found == sites_.end()) {
      fault(at, "the descriptor " + std::to_string(frame.index) + " of a message is missing");
      return true;
    }
    const Site& site = found->second;
    text_.clear();
    appendMessage(text_, site, values, (frame.size & cutBit) != 0);
    ++result_.messageCount;
    visit_(Message{static_cast<std::int64_t>(time + static_cast<std::uint64_t>(header_.realTime)),
                   site.module, site.id, site.line, site.level, site.signature, site.shortName,
                   text_});
    return true;
  }

  Bytes file_;
  const Visit& visit_;
  FileHeader header_{};
  std::unordered_map<std::uint16_t, Site> sites_;
  std::string text_;
  Decoded result_;
};

}  // namespace

Decoded decode(std::span<const std::byte> file, const Visit& visit) {
  return Decoder(file, visit).run();
}

}  // namespace Fleetlog
