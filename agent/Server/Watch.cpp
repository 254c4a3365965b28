#include "agent/Server/Watch.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace Agent {

namespace fs = std::filesystem;

FileWatch::FileWatch(const std::vector<std::string>& paths)
    : descriptor_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
  for (const std::string& path : paths) {
    std::error_code failed;
    const bool isFolder = fs::is_directory(path, failed);
    const fs::path folder = isFolder ? fs::path(path) : fs::path(path).parent_path();
    constexpr std::uint32_t events = IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE;
    const int watch = inotify_add_watch(descriptor_, folder.empty() ? "." : folder.c_str(), events);
    if (watch >= 0) {
      watches_.emplace_back(watch, isFolder ? std::string() : fs::path(path).filename().string());
    }
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
      for (const auto& [watch, file] : watches_) {
        if (watch == event.wd && (file.empty() || file == name)) isOurs = true;
      }
      at += sizeof(event) + event.len;
    }
  }
  return isOurs;
}

}  // namespace Agent
