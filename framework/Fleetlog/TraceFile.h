// Where the flight recorder writes: a ring in memory, or in a file that survives the process.
//
//   Fleetlog::TraceFile file("/var/log/agent.trace", {.ringBytes = 16 << 20});
//   Fleetlog::traceFileIs(&file);          // framework/Fleetlog/Fleetlog.h
//
// The file is mapped and shared: what is written is in it at once, whatever ends the process, kill
// -9 included, and only a crash of the machine loses what was not flushed. It holds the descriptors
// of its messages too, so that the command `fleetlog` needs nothing else, also while it is being
// written. When the ring is full, the oldest messages make room, 64 KiB at a time.
//
// One thread of one process writes. After fork() the child must not trace: it would write into the
// file of its parent.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>

#include "framework/Fleetlog/Layout.h"
#include "framework/Fleetlog/MsgDesc.h"
#include "framework/Pith/Export.h"

namespace Fleetlog {

class PITH_EXPORT TraceFile {
 public:
  // Sizes are rounded up: the ring to whole blocks of 64 KiB, at least two; the descriptors to at
  // least 4 KiB. A descriptor takes 32 bytes and its texts. RangeException above 1 TiB.
  struct Sizes {
    std::size_t ringBytes = std::size_t{4} << 20U;
    std::size_t descriptorBytes = std::size_t{256} << 10U;
  };

  // In memory.
  TraceFile() : TraceFile(Sizes()) {}
  explicit TraceFile(const Sizes& sizes);
  // In a new file, whose space is allocated here. A file of that name gets ".previous" appended to
  // its name, in place of an older one. std::system_error when that fails.
  explicit TraceFile(const std::filesystem::path& path) : TraceFile(path, Sizes()) {}
  TraceFile(const std::filesystem::path& path, const Sizes& sizes);
  TraceFile(const TraceFile&) = delete;
  TraceFile& operator=(const TraceFile&) = delete;
  // Detaches it from the recorder; a file stays.
  ~TraceFile();

  // All of it as `decode` reads it.
  std::span<const std::byte> bytes() const noexcept { return {base_, size_}; }
  // Messages that were not written: their descriptors found no room, or they were begun while
  // another was being written.
  std::uint64_t lost() const noexcept;
  // Waits until the file is on its medium; nothing to do in memory.
  void flush() const noexcept;

 private:
  friend class RingBuf;

  void layOut(const Sizes& sizes);
  Layout::FileHeader& header() const noexcept;
  // Gives `desc` a number in this file; false when there is no room.
  bool registered(MsgDesc& desc) noexcept;
  void nextBlock() noexcept;
  void countLost() noexcept;

  // What a message touches, together.
  std::byte* next_ = nullptr;  // where the next message begins
  std::byte* last_ = nullptr;  // where the last one of the block may begin
  std::uint64_t block_ = 0;    // the number of the block
  std::uint32_t serial_;       // of this trace file, among all of the process
  bool writing_ = false;       // a message is begun and not ended

  bool mapped_ = false;  // a file
  std::byte* base_ = nullptr;
  std::size_t size_ = 0;
  std::byte* nextDescriptor_ = nullptr;
  std::uint16_t descriptorCount_ = 0;
};

}  // namespace Fleetlog
