#include "agent/Document/Load.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <optional>
#include <utility>

namespace Agent {
namespace {

namespace fs = std::filesystem;

bool endsWith(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

bool isJson(std::string_view path) { return endsWith(path, ".json"); }

// The files that the paths stand for.
std::vector<std::string> filesOf(const std::vector<std::string>& paths, Diagnostics& diagnostics) {
  std::vector<std::string> files;
  for (const std::string& path : paths) {
    std::error_code failed;
    if (!fs::is_directory(path, failed)) {
      files.push_back(path);
      continue;
    }
    const std::size_t before = files.size();
    for (fs::directory_iterator entry(path, failed), end; !failed && entry != end;
         entry.increment(failed)) {
      std::error_code unknown;
      if (isDocument(entry->path().string()) && !entry->is_directory(unknown)) {
        files.push_back(entry->path().string());
      }
    }
    const auto first = files.begin() + static_cast<std::ptrdiff_t>(before);
    std::sort(first, files.end());
    if (failed || first == files.end()) {
      diagnostics.unreadable({diagnostics.fileIs(path), 0, 0},
                             failed ? "cannot be read: " + failed.message()
                                    : "holds no file ending in .json, .yaml or .yml");
    }
  }
  return files;
}

// Closed with its scope; standard input is not.
class InputFile {
 public:
  explicit InputFile(const std::string& path)
      : descriptor_(path == "-" ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;
  ~InputFile() {
    if (descriptor_ > STDIN_FILENO) ::close(descriptor_);
  }
  int descriptor() const noexcept { return descriptor_; }

 private:
  int descriptor_;
};

// All of the file; none, with the reason in `why`.
std::optional<std::string> contentOf(const std::string& path, std::string& why) {
  const InputFile input(path);
  const int file = input.descriptor();
  if (file < 0) {
    why = std::string("cannot be read: ") + std::strerror(errno);
    return std::nullopt;
  }
  constexpr std::size_t step = std::size_t{1} << 18U;
  std::string content;
  struct stat status {};
  std::size_t expected = 0;
  if (::fstat(file, &status) == 0 && S_ISREG(status.st_mode)) {
    expected = static_cast<std::size_t>(status.st_size);
  }
  if (expected <= maxFileBytes) content.reserve(expected + step);
  ssize_t got = 1;
  bool isTooLarge = expected > maxFileBytes;
  while (got > 0 && !isTooLarge) {
    const std::size_t before = content.size();
    content.resize(before + step);
    got = ::read(file, content.data() + before, step);
    content.resize(before + static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
    isTooLarge = content.size() > maxFileBytes;
  }
  if (got < 0) why = std::string("cannot be read: ") + std::strerror(errno);
  if (isTooLarge) why = "is larger than 256 MiB";
  if (!why.empty()) return std::nullopt;
  return content;
}

// A part that one file gives twice stays two members, which is told as an error later. A part that
// is nothing is one without members.
void merge(Node& root, Node part) {
  std::vector<std::string_view> seen;
  for (Member& member : part.members) {
    const bool isNew = std::find(seen.begin(), seen.end(), member.key.text) == seen.end();
    seen.push_back(member.key.text);
    Node* const there = isNew ? root.find(member.key.text) : nullptr;
    const auto isMapping = [](const Node& node) {
      return node.kind == Node::Kind::mapping || node.kind == Node::Kind::null;
    };
    if (there != nullptr && isMapping(*there) && isMapping(member.value)) {
      there->kind = Node::Kind::mapping;
      std::move(member.value.members.begin(), member.value.members.end(),
                std::back_inserter(there->members));
    } else {
      root.members.push_back(std::move(member));
    }
  }
}

}  // namespace

std::string_view Document::keep(std::string_view text) {
  if (text.empty()) return {};
  char* const copy = static_cast<char*>(texts->allocate(text.size(), 1));
  std::memcpy(copy, text.data(), text.size());
  return {copy, text.size()};
}

bool isDocument(std::string_view path) {
  return isJson(path) || endsWith(path, ".yaml") || endsWith(path, ".yml");
}

void loadText(Document& document, std::string_view name, std::string content, Language language,
              Diagnostics& diagnostics) {
  const std::uint16_t file = diagnostics.fileIs(std::string(name));
  document.buffers.push_back(std::make_unique<std::string>(std::move(content)));
  std::string_view buffer = *document.buffers.back();
  if (buffer.substr(0, 3) == "\xEF\xBB\xBF") buffer.remove_prefix(3);  // byte order mark
  Node root;
  const bool isRead = language == Language::json
                          ? readJson(buffer, file, document, root, diagnostics)
                          : readYaml(buffer, file, document, root, diagnostics);
  if (!isRead || root.kind == Node::Kind::null) return;  // an empty YAML file is nothing
  if (root.kind != Node::Kind::mapping) {
    diagnostics.error(root.place, {},
                      "a mapping of parts is wanted, such as \"source\" and \"switch\", not " +
                          std::string(kindName(root.kind)));
    return;
  }
  merge(document.root, std::move(root));
}

Document load(const std::vector<std::string>& paths, Diagnostics& diagnostics) {
  Document document;
  for (const std::string& path : filesOf(paths, diagnostics)) {
    const std::string name = path == "-" ? "standard input" : path;
    std::string why;
    std::optional<std::string> content = contentOf(path, why);
    if (content) {
      loadText(document, name, std::move(*content), isJson(path) ? Language::json : Language::yaml,
               diagnostics);
    } else {
      diagnostics.unreadable({diagnostics.fileIs(name), 0, 0}, why);
    }
  }
  return document;
}

}  // namespace Agent
