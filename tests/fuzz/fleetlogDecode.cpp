// The decoder of trace files, on bytes that begin like one: the sizes in the header are small, its
// check sum is right, and so are the heads of the two blocks. Descriptors and messages are the
// fuzzer's.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>
#include <vector>

#include "framework/Fleetlog/Decode.h"
#include "framework/Fleetlog/Layout.h"
#include "framework/Fleetlog/MsgDesc.h"
#include "framework/Fleetlog/RingBuf.h"
#include "framework/Fleetlog/TraceFile.h"

namespace {

using namespace Fleetlog::Layout;

constexpr std::size_t sectionBytes = 512;  // descriptors, and each block

std::vector<std::byte> traceFile(std::span<const std::byte> input) {
  FileHeader header{};
  header.magic = magic;
  header.byteOrder = byteOrder;
  header.version = version;
  header.descriptorsAt = sizeof header;
  header.descriptorsBytes = sectionBytes;
  header.ringAt = sizeof header + sectionBytes;
  header.blockBytes = sectionBytes;
  header.blockCount = 2;
  header.check =
      mixBytes(0, reinterpret_cast<const std::byte*>(&header), offsetof(FileHeader, check));

  std::vector<std::byte> file(sizeof header + input.size());
  if (!input.empty()) std::memcpy(&file[sizeof header], input.data(), input.size());
  store(file.data(), header);
  for (std::uint64_t number = 1; number <= header.blockCount; ++number) {
    const std::size_t at = header.ringAt + (number - 1) * header.blockBytes;
    if (at + sizeof(BlockHeader) <= file.size()) {
      store(&file[at], BlockHeader{number, blockCheck(number)});
    }
  }
  return file;
}

// A file with messages of all kinds of values.
std::vector<std::byte> realFile() {
  static constinit Pith::TraceFacility facility("fuzz");
  static constexpr Fleetlog::Function fn("void f()");
  static constinit Fleetlog::MsgDesc desc(facility, fn, ": %s %s %s %s %s %s", 1, 1,
                                          Fleetlog::withSignature);
  Fleetlog::TraceFile file({.ringBytes = 0, .descriptorBytes = 0});
  Fleetlog::RingBuf ring(file);
  for (int number = 0; number < 10 && ring.startMsg(desc); ++number) {
    ring.put(number).put(-number).put(number > 5).put("text").putIp4(1).putIp6(1, 2);
    ring.endMsg();
  }
  return {file.bytes().begin(), file.bytes().end()};
}

// Each three bytes of the input: where, in the used parts, and what.
std::vector<std::byte> changedFile(std::span<const std::byte> input) {
  static const std::vector<std::byte> original = realFile();
  std::vector<std::byte> file = original;
  for (std::size_t at = 0; at + 3 <= input.size(); at += 3) {
    std::size_t where = load<std::uint16_t>(&input[at]);
    if (where >= 256) where += load<FileHeader>(file.data()).ringAt - 256;
    file[where % file.size()] = input[at + 2];
  }
  return file;
}

void decode(std::span<const std::byte> file) {
  std::uint64_t messages = 0;
  std::size_t longest = 0;
  const Fleetlog::Decoded result = Fleetlog::decode(file, [&](const Fleetlog::Message& message) {
    ++messages;
    if (message.text.size() > longest) longest = message.text.size();
  });
  // A text is made of a descriptor's texts and of values, whose texts are at most 20 times as long.
  if (messages != result.messageCount || longest > 20 * file.size()) std::abort();
  if (result.faults.size() > Fleetlog::Decoded::faultsMax) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto* const bytes = reinterpret_cast<const std::byte*>(data);
  decode({bytes, size});
  decode(traceFile({bytes, size}));
  decode(changedFile({bytes, size}));
  return 0;
}
