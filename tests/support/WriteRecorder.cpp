#include "tests/support/WriteRecorder.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace TestSupport {

// A reference is "/Firewall::HwConfig@12/policy/web": type, number and path up to a comma or the
// end.
std::string withShortReferences(const std::string& text) {
  const auto isOfType = [](char c) {
    return std::isalpha(static_cast<unsigned char>(c)) || c == ':';
  };
  std::string result;
  std::size_t done = 0;
  for (std::size_t at = text.find('@'); at != text.npos; at = text.find('@', at + 1)) {
    std::size_t start = at;
    while (start > done && isOfType(text[start - 1])) --start;
    const std::size_t number = text.find_first_not_of("0123456789", at + 1);
    if (start == at || start == done || text[start - 1] != '/' || number == at + 1) continue;
    const std::size_t end = std::min(text.find(',', at), text.size());
    const std::size_t step = std::max(text.rfind('/', end - 1) + 1, number);
    result.append(text, done, start - 1 - done).push_back('@');
    done = std::min(step, end);
    at = done - 1;
  }
  return result.append(text, done);
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
  line += prefix_ + change.path;
  if (change.kind != Kind::removed && change.attribute.child == nullptr &&
      change.attribute.value != nullptr) {
    line += " = " + withShortReferences(change.value);
  }
  if (into_->listener_) into_->listener_(line);
  into_->lines_.push_back(std::move(line));
}

}  // namespace TestSupport
