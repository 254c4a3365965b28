// A copy of a trace file while its writer goes on.
//
// Blocks are copied from the newest back to the oldest, since the writer takes them into use again
// from the oldest on: the messages of the copy begin where it meets the writer. Within a block the
// order of copying is enough: a frame word that was copied says that its frame, at higher
// addresses, had been written before. Descriptors are copied last, so that they are there for all
// messages.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "framework/Fleetlog/Decode.h"
#include "framework/Fleetlog/Layout.h"

namespace Fleetlog {
namespace {

using namespace Layout;

class OpenFile {
 public:
  explicit OpenFile(const std::filesystem::path& path)
      : path_(path), file_(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (file_ < 0) raise(errno);
  }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
  ~OpenFile() { close(file_); }

  std::size_t size() const {
    struct stat status {};
    if (fstat(file_, &status) != 0) raise(errno);
    if (S_ISDIR(status.st_mode)) raise(EISDIR);
    if (!S_ISREG(status.st_mode)) raise(EINVAL);
    return static_cast<std::size_t>(status.st_size);
  }

  // Less than asked for only where the file ends.
  std::size_t read(std::size_t at, std::span<std::byte> to) const {
    std::size_t done = 0;
    while (done < to.size()) {
      const ssize_t got =
          pread(file_, to.data() + done, to.size() - done, static_cast<off_t>(at + done));
      if (got < 0 && errno == EINTR) continue;
      if (got < 0) raise(errno);
      if (got == 0) break;
      done += static_cast<std::size_t>(got);
    }
    return done;
  }

 private:
  [[noreturn]] void raise(int error) const {
    throw std::system_error(error, std::generic_category(), path_.string());
  }

  std::filesystem::path path_;
  int file_;
};

// Whether the copy holds all that its header promises.
bool isWhole(const FileHeader& header, std::size_t size) {
  return header.magic == magic && header.byteOrder == byteOrder && header.version == version &&
         header.blockBytes >= sizeof(BlockHeader) && header.ringAt <= size &&
         header.descriptorsAt <= header.ringAt &&
         header.blockCount <= (size - header.ringAt) / header.blockBytes;
}

bool isValid(const BlockHeader& head) {
  return head.number != 0 && head.check == blockCheck(head.number);
}

class Copy {
 public:
  Copy(const OpenFile& file, const FileHeader& header, std::span<std::byte> bytes)
      : file_(file), header_(header), bytes_(bytes) {}

  // False when the writer has overtaken it at the newest block.
  bool take() {
    const std::uint64_t newest = newestBlock();
    std::uint64_t oldest = newest + 1;  // of the blocks that are copied
    const std::uint64_t count = std::min(newest, header_.blockCount);
    for (std::uint64_t number = newest; number > newest - count; --number) {
      const std::size_t at = blockAt(number);
      file_.read(at, bytes_.subspan(at, header_.blockBytes));
      const auto copied = load<BlockHeader>(&bytes_[at]);
      const BlockHeader now = headAt(at);
      if (now.number != copied.number || (isValid(now) && now.number > newest)) {
        if (number == newest) return false;
        overtaken(newest - count + 1, oldest);
        break;
      }
      // A head that is being changed says nothing by itself.
      if (copied.check != 0) oldest = number;
    }
    file_.read(0, bytes_.first(header_.ringAt));
    return true;
  }

 private:
  std::size_t blockAt(std::uint64_t number) const {
    return header_.ringAt + (number - 1) % header_.blockCount * header_.blockBytes;
  }

  BlockHeader headAt(std::size_t at) const {
    std::array<std::byte, sizeof(BlockHeader)> head{};
    file_.read(at, head);
    return load<BlockHeader>(head.data());
  }

  std::uint64_t newestBlock() const {
    std::uint64_t newest = 0;
    for (std::uint64_t slot = 0; slot < header_.blockCount; ++slot) {
      const BlockHeader head = headAt(blockAt(slot + 1));
      if (isValid(head)) newest = std::max(newest, head.number);
    }
    return newest;
  }

  // The blocks [begin, end) are of the past by now.
  void overtaken(std::uint64_t begin, std::uint64_t end) {
    for (std::uint64_t number = begin; number < end; ++number) {
      store(&bytes_[blockAt(number)], BlockHeader{0, overtakenCheck});
    }
  }

  const OpenFile& file_;
  const FileHeader& header_;
  std::span<std::byte> bytes_;
};

}  // namespace

std::vector<std::byte> readTraceFile(const std::filesystem::path& path) {
  // Against a writer that goes round the ring while one block is copied.
  constexpr int attemptsMax = 100;

  const OpenFile file(path);
  std::vector<std::byte> copy(file.size());
  copy.resize(file.read(0, copy));
  if (copy.size() < sizeof(FileHeader)) return copy;
  const auto header = load<FileHeader>(copy.data());
  if (!isWhole(header, copy.size())) return copy;

  for (int attempt = 0; attempt < attemptsMax; ++attempt) {
    if (Copy(file, header, copy).take()) break;
  }
  return copy;
}

}  // namespace Fleetlog
