// Tells when one of the configuration's files may have changed (inotify).
//
//   FileWatch watch({"site.yaml", "conf.d"});
//   poll({watch.descriptor(), ...});
//   if (watch.changed()) ...
//
// Folders are watched, not files: editors write a new file and rename it.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace Agent {

class FileWatch {
 public:
  explicit FileWatch(const std::vector<std::string>& paths);
  ~FileWatch();
  FileWatch(const FileWatch&) = delete;
  FileWatch& operator=(const FileWatch&) = delete;

  int descriptor() const noexcept { return descriptor_; }
  // Reads what has happened; whether it was to one of the paths.
  bool changed() const;

 private:
  int descriptor_;
  std::vector<std::pair<int, std::string>> watches_;  // a folder, and the file; "" for any
};

}  // namespace Agent
