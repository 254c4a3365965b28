#include "tests/support/WriteRecorder.h"

#include <regex>
#include <utility>

namespace TestSupport {

std::string withShortReferences(const std::string& text) {
  if (text.find('@') == std::string::npos) return text;
  static const std::regex reference("/[A-Za-z:]+@[0-9]+(/[^,]*/|/)?");
  return std::regex_replace(text, reference, "@");
}

std::vector<std::string> WriteRecorder::take() { return std::exchange(lines_, {}); }

std::vector<std::string> WriteRecorder::takeBelow(const std::string& path) {
  std::vector<std::string> below;
  for (std::string& line : take()) {
    if (line.compare(2, path.size(), path) == 0) below.push_back(std::move(line));
  }
  return below;
}

void WriteRecorder::onChange(const Kiv::TreeChange& change) {
  using Kind = Kiv::TreeChange::Kind;
  std::string line = change.kind == Kind::added ? "+ " : change.kind == Kind::changed ? "~ " : "- ";
  line += change.path;
  if (change.kind != Kind::removed && change.attribute.child == nullptr &&
      change.attribute.value != nullptr) {
    line += " = " + withShortReferences(change.value);
  }
  lines_.push_back(std::move(line));
}

}  // namespace TestSupport
