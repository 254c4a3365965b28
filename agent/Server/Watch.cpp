#include "agent/Server/Watch.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "agent/Document/Load.h"

namespace Agent {

namespace fs = std::filesystem;

FileWatch::FileWatch(const std::vector<std::string>& paths, std::string& why)
    : descriptor_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
  if (descriptor_ < 0) why = std::string("files cannot be watched: ") + std::strerror(errno);
  for (const std::string& path : paths) {
    std::error_code failed;
    const bool isFolder = fs::is_directory(path, failed);
    fs::path folder = isFolder ? fs::path(path) : fs::path(path).parent_path();
    if (folder.empty()) folder = ".";
    constexpr std::uint32_t events =
        IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_CREATE;
    const int watch = inotify_add_watch(descriptor_, folder.c_str(), events);
    if (watch < 0) {
      why = folder.string() + ": cannot be watched: " + std::strerror(errno);
      continue;
    }
    watches_.push_back({watch, folder, isFolder ? "" : fs::path(path).filename().string()});
  }
}

FileWatch::~FileWatch() { ::close(descriptor_); }

bool FileWatch::changed() const {
  bool isOurs = false;
  alignas(inotify_event) std::array<char, 16384> bytes{};
  for (ssize_t got = 0; (got = ::read(descriptor_, bytes.data(), bytes.size())) > 0;) {
    for (std::size_t at = 0; at < static_cast<std::size_t>(got);) {
      inotify_event event{};
      std::memcpy(&event, bytes.data() + at, sizeof(event));
      const std::string name =
          event.len == 0 ? std::string() : std::string(bytes.data() + at + sizeof(event));
      if ((event.mask & IN_Q_OVERFLOW) != 0) isOurs = true;  // what it was is lost
      for (const Watched& watched : watches_) {
        if (watched.descriptor != event.wd) continue;
        if (watched.file.empty() ? !isDocument(name) : watched.file != name) continue;
        // A file that was created is told again when it is written, a link is not.
        std::error_code failed;
        const bool isCreated = (event.mask & IN_CREATE) != 0;
        if (!isCreated || fs::is_symlink(watched.folder / name, failed)) isOurs = true;
      }
      at += sizeof(event) + event.len;
    }
  }
  return isOurs;
}

}  // namespace Agent
