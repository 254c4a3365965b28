// Errors and warnings, each with its place, collected until all are known.
//
//   diagnostics.error(node.place, "app/web/proto", "\"tpc\" is not a protocol; ...");
//   diagnostics.print(std::cerr, {.maxErrors = 20});
//
// prints, ordered by file, line and column,
//
//   site.yaml:3:14: error: app/web/proto: "tpc" is not a protocol; ...
//   1 error
#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/Document/Node.h"

namespace Agent {

class Diagnostics {
 public:
  enum class Severity : std::uint8_t { error, warning };
  struct Entry {
    Severity severity;
    Place place;
    std::string path;  // of the document, empty when the file as a whole is meant
    std::string text;
  };
  struct Style {
    std::size_t maxErrors = 50;  // and as many warnings; 0: all
    bool color = false;
    bool warnings = true;
    bool summary = true;
  };

  static constexpr std::size_t maxKept = 100'000;

  // The index of the file, for places in it.
  std::uint16_t fileIs(std::string name);
  const std::string& fileName(std::uint16_t file) const { return files_[file]; }
  // "file:line:column", without what is 0.
  std::string placeText(const Place& place) const;

  void error(const Place& place, std::string path, std::string text);
  void warning(const Place& place, std::string path, std::string text);

  // An error that is not the document's: a file that cannot be read.
  void unreadable(const Place& place, std::string text) {
    error(place, {}, std::move(text));
    isUnreadable_ = true;
  }
  bool isUnreadable() const noexcept { return isUnreadable_; }

  std::size_t errors() const noexcept { return errors_; }
  std::size_t warnings() const noexcept { return warnings_; }
  // The first maxKept that were told.
  const std::vector<Entry>& entries() const noexcept { return entries_; }

  void print(std::ostream& out, const Style& style) const;
  // "2 errors, 1 warning"; empty for none.
  std::string summary() const;

 private:
  void add(Severity severity, const Place& place, std::string path, std::string text);

  std::vector<std::string> files_;
  std::vector<Entry> entries_;
  std::size_t errors_ = 0;
  std::size_t warnings_ = 0;
  bool isUnreadable_ = false;
};

// The beginning of the text, of at most so many bytes, without a part of a UTF-8 character.
std::string_view cut(std::string_view text, std::size_t most) noexcept;
// The text in quotes, control characters as \xNN, cut after 60 bytes.
std::string inQuotes(std::string_view text);
// The candidate that `text` most likely was meant to be, empty when none is near.
std::string_view nearest(std::string_view text, const std::vector<std::string_view>& candidates);
// `; did you mean "x"?`, or nothing.
std::string didYouMean(std::string_view text, const std::vector<std::string_view>& candidates);

}  // namespace Agent
