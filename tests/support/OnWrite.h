// Calls a function for each write to a tree, at the time of the write.
//
//   const TestSupport::OnWrite onWrite(sw().hwConfig, [&](const Kiv::TreeChange& change) {
//     if (change.path == "policy/p") ...
//   });
#pragma once

#include <functional>
#include <utility>

#include "framework/Kiv/TreeWatcher.h"

namespace TestSupport {

class OnWrite final : public Kiv::TreeWatcher {
 public:
  using Call = std::function<void(const Kiv::TreeChange&)>;
  OnWrite(const Pith::Ptr<Kiv::Entity>& root, Call call)
      : TreeWatcher(root), call_(std::move(call)) {}

 private:
  void onChange(const Kiv::TreeChange& change) override { call_(change); }

  Call call_;
};

}  // namespace TestSupport
