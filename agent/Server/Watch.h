// Tells when one of the configuration's files may have changed (inotify).
//
//   FileWatch watch({"site.yaml", "conf.d"});
//   poll({watch.descriptor(), ...});
//   if (watch.changed()) ...
//
// Folders are watched, not files: editors write a new file and rename it.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace Agent {

class FileWatch {
 public:
  // With the reason in `why` when something cannot be watched.
  FileWatch(const std::vector<std::string>& paths, std::string& why);
  ~FileWatch();
  FileWatch(const FileWatch&) = delete;
  FileWatch& operator=(const FileWatch&) = delete;

  int descriptor() const noexcept { return descriptor_; }
  // Reads what has happened; whether it was to one of the paths.
  bool changed() const;

 private:
  struct Watched {
    int descriptor;
    std::filesystem::path folder;
    std::string file;  // "": any document in it
  };

  int descriptor_;
  std::vector<Watched> watches_;
};

}  // namespace Agent
