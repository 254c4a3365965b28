#include "agent/Document/Diagnostics.h"

#include <algorithm>
#include <numeric>
#include <ostream>
#include <utility>

#include "agent/Document/Count.h"
#include "framework/Pith/Printable.h"

namespace Agent {
namespace {

// Insertions, deletions, replacements and swaps of neighbours that make one of the other (optimal
// string alignment).
std::size_t editDistance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> before(b.size() + 1);
  std::vector<std::size_t> last(b.size() + 1);
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(last.begin(), last.end(), std::size_t{0});
  for (std::size_t i = 1; i <= a.size(); ++i) {
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t other = a[i - 1] == b[j - 1] ? 0 : 1;
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + other});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
        row[j] = std::min(row[j], before[j - 2] + 1);
      }
    }
    std::swap(before, last);
    std::swap(last, row);
  }
  return last[b.size()];
}

}  // namespace

std::uint16_t Diagnostics::fileIs(std::string name) {
  files_.push_back(std::move(name));
  return static_cast<std::uint16_t>(files_.size() - 1);
}

std::string Diagnostics::placeText(const Place& place) const {
  std::string text = place.file < files_.size() ? files_[place.file] : std::string();
  if (place.line != 0) {
    text += ":" + std::to_string(place.line);
    if (place.column != 0) text += ":" + std::to_string(place.column);
  }
  return text;
}

void Diagnostics::error(const Place& place, std::string path, std::string text) {
  add(Severity::error, place, std::move(path), std::move(text));
  ++errors_;
}

void Diagnostics::warning(const Place& place, std::string path, std::string text) {
  add(Severity::warning, place, std::move(path), std::move(text));
  ++warnings_;
}

void Diagnostics::add(Severity severity, const Place& place, std::string path, std::string text) {
  if (entries_.size() < maxKept) {
    entries_.push_back({severity, place, std::move(path), std::move(text)});
  }
}

void Diagnostics::print(std::ostream& out, const Style& style) const {
  std::vector<const Entry*> ordered;
  for (const Entry& entry : entries_) {
    if (style.warnings || entry.severity == Severity::error) ordered.push_back(&entry);
  }
  std::stable_sort(ordered.begin(), ordered.end(),
                   [](const Entry* a, const Entry* b) { return a->place < b->place; });
  std::size_t shown[2] = {0, 0};
  std::size_t hidden = 0;
  for (const Entry* entry : ordered) {
    const bool isError = entry->severity == Severity::error;
    if (style.maxErrors != 0 && ++shown[isError ? 0 : 1] > style.maxErrors) {
      ++hidden;
      continue;
    }
    const std::string_view severity = isError ? "error" : "warning";
    const std::string_view begin = !style.color ? "" : isError ? "\x1b[1;31m" : "\x1b[1;35m";
    const std::string_view end = style.color ? "\x1b[0m" : "";
    const std::string where = placeText(entry->place);
    out << where << (where.empty() ? "" : ": ") << begin << severity << ": " << end;
    if (!entry->path.empty()) out << entry->path << ": ";
    out << entry->text << '\n';
  }
  if (hidden != 0) out << grouped(hidden) << " more are not shown (--max-errors 0 shows all)\n";
  if (const std::size_t lost = errors_ + warnings_ - entries_.size(); lost != 0) {
    out << grouped(lost) << " more were not kept\n";
  }
  if (style.summary && !ordered.empty()) out << summary() << '\n';
}

std::string Diagnostics::summary() const {
  std::string text;
  if (errors() != 0) text = counted(errors(), "error");
  if (warnings() != 0) text += (text.empty() ? "" : ", ") + counted(warnings(), "warning");
  return text;
}

std::string_view cut(std::string_view text, std::size_t most) noexcept {
  if (text.size() <= most) return text;
  while (most > 0 && (static_cast<unsigned char>(text[most]) & 0xC0U) == 0x80U) --most;
  return text.substr(0, most);
}

std::string inQuotes(std::string_view text) {
  constexpr std::size_t most = 60;
  std::string result = "\"";
  Pith::appendPrintable(result, cut(text, most));
  return result + (text.size() > most ? "\"..." : "\"");
}

std::string_view nearest(std::string_view text, const std::vector<std::string_view>& candidates) {
  constexpr std::size_t longest = 100;
  std::string_view best;
  if (text.size() > longest) return best;
  std::size_t bestDistance = std::max<std::size_t>(1, text.size() / 3) + 1;
  for (const std::string_view candidate : candidates) {
    const std::size_t shorter = std::min(text.size(), candidate.size());
    const std::size_t longer = std::max(text.size(), candidate.size());
    if (longer - shorter >= bestDistance || candidate == text) continue;
    const std::size_t distance = editDistance(text, candidate);
    if (distance < bestDistance) {
      bestDistance = distance;
      best = candidate;
    }
  }
  return best;
}

std::string didYouMean(std::string_view text, const std::vector<std::string_view>& candidates) {
  const std::string_view meant = nearest(text, candidates);
  return meant.empty() ? "" : "; did you mean " + inQuotes(meant) + "?";
}

}  // namespace Agent
