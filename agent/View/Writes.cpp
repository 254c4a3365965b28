#include "agent/View/Writes.h"

#include <algorithm>
#include <iterator>
#include <ostream>
#include <set>

#include "agent/Document/Count.h"
#include "agent/Document/TreeWriter.h"
#include "agent/View/Text.h"

namespace Agent {
namespace {

using ChangeKind = Kiv::TreeChange::Kind;

constexpr std::string_view kindName(ChangeKind kind) {
  return kind == ChangeKind::added ? "added" : kind == ChangeKind::changed ? "changed" : "removed";
}

// "policy/web" of "policy/web/rule/1", "vrf/red/segment/a" of what is below that segment.
std::string objectOf(const std::string& path) {
  const auto cut = [&path](std::size_t steps) {
    std::size_t at = 0;
    for (; steps > 0 && at != std::string::npos; --steps) at = path.find('/', at == 0 ? 0 : at + 1);
    return at == std::string::npos ? path : path.substr(0, at);
  };
  if (path.rfind("vrf/", 0) == 0) return cut(path.find("/segment/") != std::string::npos ? 4 : 2);
  if (path.rfind("l2Seg/segment/", 0) == 0) return cut(3);
  if (path.rfind("policy/", 0) == 0 || path.rfind("services/", 0) == 0) return cut(2);
  return cut(1);
}

}  // namespace

void WriteRecord::onChange(const Kiv::TreeChange& change) {
  std::string value;
  if (change.attribute.child == nullptr && change.attribute.value != nullptr) {
    value = valueText(*change.attribute.value, change.value);
  }
  writes_.push_back({change.kind, change.path, change.kind == ChangeKind::removed ? "" : value,
                     hwConfig_->updateInProgress()});
}

std::vector<std::string> WriteRecord::putBack() const {
  const FlatTree now = flatTree(*hwConfig_, {});
  const auto endOf = [](const FlatTree& tree, const std::string& path) {
    auto at = tree.find(path);
    while (at != tree.end() && isAtOrBelow(at->first, path)) ++at;
    return at;
  };
  std::set<std::string, PathOrder> removed;
  for (const Write& write : writes_) {
    if (write.kind == ChangeKind::removed) removed.insert(write.path);
  }
  std::vector<std::string> paths;
  // What was below an object that was taken away went with it, and may stand again without it being
  // the same: then its parts are looked at.
  const auto look = [&](auto& self, const std::string& path) -> void {
    const auto was = before_.find(path);
    const auto is = now.find(path);
    if (was == before_.end() || is == now.end()) return;
    if (std::equal(was, endOf(before_, path), is, endOf(now, path))) {
      paths.push_back(path);
      return;
    }
    std::string last = path;
    for (auto at = std::next(was); at != before_.end() && isAtOrBelow(at->first, path); ++at) {
      if (!at->second.isEntry || (last != path && isAtOrBelow(at->first, last))) continue;
      last = at->first;
      self(self, last);
    }
  };
  std::string done;
  for (const std::string& path : removed) {
    if (!done.empty() && isAtOrBelow(path, done)) continue;
    done = path;
    look(look, path);
  }
  return paths;
}

std::map<std::string, WriteRecord::Sum> WriteRecord::sums() const {
  std::map<std::string, Sum> sums;
  for (const Write& write : writes_) {
    Sum& sum = sums[objectOf(write.path)];
    ++(write.kind == ChangeKind::added     ? sum.added
       : write.kind == ChangeKind::changed ? sum.changed
                                           : sum.removed);
  }
  return sums;
}

void WriteRecord::printText(std::ostream& out, bool color) const {
  std::size_t inProgress = 0;
  for (const Write& write : writes_) {
    if (write.inProgress) ++inProgress;
    const char sign = write.kind == ChangeKind::added     ? '+'
                      : write.kind == ChangeKind::changed ? '~'
                                                          : '-';
    if (color) out << (sign == '+' ? "\x1b[32m" : sign == '-' ? "\x1b[31m" : "\x1b[33m");
    out << sign << (write.inProgress ? "* " : "  ") << write.path;
    if (!write.value.empty()) out << " = " << write.value;
    out << (color ? "\x1b[0m\n" : "\n");
  }
  if (writes_.empty()) {
    out << "no writes\n";
    return;
  }
  out << '\n'
      << counted(writes_.size(), "write") << ", " << grouped(inProgress)
      << " while updateInProgress was true (marked *)\n";
  for (const auto& [object, sum] : sums()) {
    out << "  " << object << ": +" << sum.added << " ~" << sum.changed << " -" << sum.removed
        << '\n';
  }
  const std::vector<std::string> back = putBack();
  if (back.empty()) return;
  out << '\n'
      << "the same in both, but taken away and put back on the way: " << back.size() << '\n';
  for (const std::string& path : back) out << "  " << path << '\n';
}

void WriteRecord::printJsonLines(std::ostream& out) const {
  const auto line = [&out](const auto& fill) {
    std::string text;
    const auto writer = TreeWriter::jsonLine(text);
    writer->begin();
    fill(*writer);
    writer->end();
    writer->done();
    out << text;
  };
  for (const Write& write : writes_) {
    line([&write](TreeWriter& writer) {
      writer.key("write");
      writer.text(kindName(write.kind));
      writer.key("path");
      writer.text(write.path);
      if (write.kind != ChangeKind::removed && !write.value.empty()) {
        writer.key("value");
        writer.text(write.value);
      }
      writer.key("updateInProgress");
      writer.boolean(write.inProgress);
    });
  }
  for (const auto& [object, sum] : sums()) {
    line([&object = object, &sum = sum](TreeWriter& writer) {
      writer.key("sum");
      writer.text(object);
      writer.key("added");
      writer.number(sum.added);
      writer.key("changed");
      writer.number(sum.changed);
      writer.key("removed");
      writer.number(sum.removed);
    });
  }
  for (const std::string& path : putBack()) {
    line([&path](TreeWriter& writer) {
      writer.key("putBack");
      writer.text(path);
    });
  }
}

}  // namespace Agent
