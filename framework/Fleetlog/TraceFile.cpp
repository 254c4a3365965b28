#include "framework/Fleetlog/TraceFile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <ctime>
#include <string_view>
#include <system_error>

#include "framework/Fleetlog/Fleetlog.h"
#include "framework/Pith/RangeException.h"

namespace Fleetlog {
namespace {

using namespace Layout;

constexpr std::size_t blockCountMin = 2;
constexpr std::size_t descriptorBytesMin = 4096;
constexpr std::size_t sizeMax = std::size_t{1} << 40U;

constinit std::uint32_t lastSerial = 0;

[[noreturn]] void raise(const char* what, int error = errno) {
  throw std::system_error(error, std::generic_category(), what);
}

std::size_t blockCountOf(const TraceFile::Sizes& sizes) {
  return std::max(blockCountMin, (sizes.ringBytes + blockBytes - 1) / blockBytes);
}

std::size_t descriptorBytesOf(const TraceFile::Sizes& sizes) {
  return padded(std::max(descriptorBytesMin, sizes.descriptorBytes));
}

std::size_t bytesOf(const TraceFile::Sizes& sizes) {
  if (sizes.ringBytes > sizeMax || sizes.descriptorBytes > sizeMax) {
    Pith::RangeException::throwException("Fleetlog::TraceFile::sizes > 1 TiB");
  }
  return sizeof(FileHeader) + descriptorBytesOf(sizes) + blockCountOf(sizes) * blockBytes;
}

std::byte* map(std::size_t size, int flags, int file) {
  void* const base = mmap(nullptr, size, PROT_READ | PROT_WRITE, flags | MAP_POPULATE, file, 0);
  if (base == MAP_FAILED) raise("Fleetlog::TraceFile: mmap");
  return static_cast<std::byte*>(base);
}

// A file descriptor, closed at the end of the scope: a mapping does not need it.
class OpenFile {
 public:
  explicit OpenFile(const std::filesystem::path& path)
      : file_(open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0640)) {
    if (file_ < 0) raise(path.c_str());
  }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
  ~OpenFile() { close(file_); }

  int get() const noexcept { return file_; }

 private:
  int file_;
};

std::int64_t nanoseconds(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

// Readers may look at any moment: what was stored before is there when they see this word.
void publish(std::byte* at, std::uint64_t word) noexcept {
  std::atomic_ref(*reinterpret_cast<std::uint64_t*>(at)).store(word, std::memory_order_release);
}

std::uint64_t wordOf(std::size_t size, std::uint16_t index, std::uint64_t check) noexcept {
  const auto frameSize = static_cast<std::uint16_t>(size);
  return std::bit_cast<std::uint64_t>(FrameWord{frameSize, index, finish(check, frameSize, index)});
}

}  // namespace

TraceFile::TraceFile(const Sizes& sizes) : serial_(++lastSerial) {
  size_ = bytesOf(sizes);
  base_ = map(size_, MAP_PRIVATE | MAP_ANONYMOUS, -1);
  layOut(sizes);
}

TraceFile::TraceFile(const std::filesystem::path& path, const Sizes& sizes)
    : serial_(++lastSerial), mapped_(true) {
  size_ = bytesOf(sizes);
  if (std::filesystem::exists(path)) {
    std::filesystem::rename(path, std::filesystem::path(path) += ".previous");
  }
  const OpenFile file(path);
  // A full disk shows here, not as a SIGBUS in the middle of a message.
  const int error = posix_fallocate(file.get(), 0, static_cast<off_t>(size_));
  if (error != 0) raise(path.c_str(), error);
  base_ = map(size_, MAP_SHARED, file.get());
  layOut(sizes);
}

TraceFile::~TraceFile() {
  if (traceFile() == this) traceFileIs(nullptr);
  munmap(base_, size_);
}

void TraceFile::layOut(const Sizes& sizes) {
  FileHeader made{};
  made.byteOrder = byteOrder;
  made.version = version;
  made.descriptorsAt = sizeof(FileHeader);
  made.descriptorsBytes = descriptorBytesOf(sizes);
  made.ringAt = made.descriptorsAt + made.descriptorsBytes;
  made.blockBytes = blockBytes;
  made.blockCount = blockCountOf(sizes);
  made.realTime = nanoseconds(CLOCK_REALTIME) - nanoseconds(CLOCK_MONOTONIC);
  made.processId = static_cast<std::uint64_t>(getpid());
  made.magic = magic;
  made.check = mixBytes(0, reinterpret_cast<const std::byte*>(&made), offsetof(FileHeader, check));
  store(base_, made);

  nextDescriptor_ = base_ + made.descriptorsAt;
  nextBlock();
}

FileHeader& TraceFile::header() const noexcept { return *reinterpret_cast<FileHeader*>(base_); }

std::uint64_t TraceFile::lost() const noexcept { return header().lost; }

void TraceFile::countLost() noexcept { ++header().lost; }

void TraceFile::flush() const noexcept {
  if (mapped_) msync(base_, size_, MS_SYNC);
}

bool TraceFile::registered(MsgDesc& desc) noexcept {
  const std::string_view module = std::string_view(desc.facility->name()).substr(0, textBytesMax);
  const std::string_view signature = desc.function.signature.substr(0, descriptorTextBytesMax);
  const std::string_view text = desc.text.substr(0, descriptorTextBytesMax);
  const std::size_t size =
      sizeof(FrameWord) + sizeof(Descriptor) + module.size() + signature.size() + text.size();
  // The zero word behind the last descriptor needs room too.
  const std::byte* const end = base_ + header().ringAt;
  const bool room = padded(size) + wordBytes <= static_cast<std::size_t>(end - nextDescriptor_);
  if (!room || descriptorCount_ + 1 == blockEnd) {
    countLost();
    return false;
  }

  std::byte* const body = nextDescriptor_ + sizeof(FrameWord);
  store(body, Descriptor{desc.id, desc.line, static_cast<std::uint16_t>(module.size()),
                         static_cast<std::uint16_t>(signature.size()),
                         static_cast<std::uint16_t>(text.size()), desc.level, desc.signature});
  std::byte* at = body + sizeof(Descriptor);
  for (const std::string_view part : {module, signature, text}) {
    at = std::transform(part.begin(), part.end(), at,
                        [](char c) { return static_cast<std::byte>(c); });
  }
  const std::uint64_t check = mixBytes(0, body, static_cast<std::size_t>(at - body));
  ++descriptorCount_;
  publish(nextDescriptor_, wordOf(size, descriptorCount_, check));
  nextDescriptor_ += padded(size);
  desc.index = descriptorCount_;
  desc.registeredWith = serial_;
  return true;
}

void TraceFile::nextBlock() noexcept {
  if (block_ > 0) publish(next_, wordOf(sizeof(FrameWord), blockEnd, mix(0, block_)));
  std::byte* const begin = base_ + header().ringAt + block_ % header().blockCount * blockBytes;
  ++block_;
  publish(begin + offsetof(BlockHeader, check), 0);
  publish(begin + offsetof(BlockHeader, number), block_);
  publish(begin + sizeof(BlockHeader), 0);
  publish(begin + offsetof(BlockHeader, check), blockCheck(block_));
  next_ = begin + sizeof(BlockHeader);
  last_ = begin + blockBytes - messageBytesMax - wordBytes;
}

}  // namespace Fleetlog
