// The writes to an output tree, in order, as lines of text:
//
//   + vrf/red                                  a child appeared
//   + vrf/red/prefixList/10.0.0.0%2F8 = a      an entry with its value appeared
//   ~ vrf/red/segment/a/className = web        a value or an entry changed
//   - vrf/red                                  it went
//
// A reference is written as the last step of its path, so that texts do not depend on numbers.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "framework/Kiv/TreeWatcher.h"

namespace TestSupport {

class WriteRecorder final : public Kiv::TreeWatcher {
 public:
  explicit WriteRecorder(Pith::Ptr<Kiv::Entity> root) : TreeWatcher(std::move(root)) {}
  // Writes its lines to those of another, with `prefix` before each path.
  WriteRecorder(Pith::Ptr<Kiv::Entity> root, WriteRecorder& into, std::string prefix)
      : TreeWatcher(std::move(root)), into_(&into), prefix_(std::move(prefix)) {}

  // All lines since the last take().
  std::vector<std::string> take();
  const std::vector<std::string>& lines() const { return lines_; }
  // Those of take() whose path begins so.
  std::vector<std::string> takeBelow(const std::string& path);
  // Called with each line when it is written down; returns the listener before.
  using Listener = std::function<void(const std::string& line)>;
  Listener listenerIs(Listener listener) { return std::exchange(listener_, std::move(listener)); }

 private:
  void onChange(const Kiv::TreeChange& change) override;

  std::vector<std::string> lines_;
  WriteRecorder* into_ = this;
  std::string prefix_;
  Listener listener_;
};

// References as the last step of their path.
std::string withShortReferences(const std::string& text);

}  // namespace TestSupport
