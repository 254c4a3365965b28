// Files into one document.
//
//   Document document = load({"site.yaml", "conf.d"}, diagnostics);
//   if (diagnostics.errors() == 0) ...
//
// A file ending in .json is strict JSON, any other YAML; a directory gives its files ending in
// .json, .yaml and .yml in the order of their names, "-" is YAML from standard input. The files'
// top-level parts are merged: a part of the same name in two files is one part with the members of
// both, where the same member twice is a duplicate like any other.
//
// What a file may not be is told as an error with its place: unreadable, above 256 MiB, not UTF-8,
// deeper than 64 levels, of more than 4 million values and keys, broken JSON or YAML, more than one
// YAML document, YAML aliases and tags, or anything but a mapping at the top. The other files are
// read nevertheless.
//
// The document owns the memory that the nodes' texts lie in.
#pragma once

#include <memory>
#include <memory_resource>
#include <string>
#include <string_view>
#include <vector>

#include "agent/Document/Diagnostics.h"
#include "agent/Document/Node.h"

namespace Agent {

inline constexpr std::size_t maxFileBytes = std::size_t{256} << 20U;
inline constexpr std::size_t maxDepth = 64;
inline constexpr std::size_t maxNodes = 4'000'000;  // of a file: about 0.5 GiB

struct Document {
  Node root{Node::Kind::mapping, {}, {}, {}};
  std::vector<std::unique_ptr<std::string>> buffers;
  std::unique_ptr<std::pmr::monotonic_buffer_resource> texts =
      std::make_unique<std::pmr::monotonic_buffer_resource>(std::size_t{1} << 16U);

  // A copy of the text that lives as long as the document.
  std::string_view keep(std::string_view text);
};

Document load(const std::vector<std::string>& paths, Diagnostics& diagnostics);

// Adds the content of one file, which is told by that name.
enum class Language { json, yaml };
void loadText(Document& document, std::string_view name, std::string content, Language language,
              Diagnostics& diagnostics);

// Whether a file of this name in a directory belongs to the document.
bool isDocument(std::string_view path);

// The readers. `buffer` is owned by the document; false, with an error told, when it cannot be read
// to its end.
bool readJson(std::string_view buffer, std::uint16_t file, Document& document, Node& root,
              Diagnostics& diagnostics);
bool readYaml(std::string_view buffer, std::uint16_t file, Document& document, Node& root,
              Diagnostics& diagnostics);

}  // namespace Agent
