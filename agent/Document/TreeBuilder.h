// Makes a tree of nodes from the events that the parsers send, in their order.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "agent/Document/Load.h"

namespace Agent {

class TreeBuilder {
 public:
  // False when it would be too deep.
  bool begin(Node::Kind kind, const Place& place) {
    if (open_.size() >= maxDepth) return false;
    open_.push_back({{kind, place, {}, {}}, {}, false});
    return true;
  }
  void end() {
    Node done = std::move(open_.back().node);
    open_.pop_back();
    add(std::move(done));
  }
  void scalar(Node::Kind kind, const Place& place, std::string_view text) {
    add({kind, place, text, {}});
  }

  bool expectsKey() const noexcept {
    return !open_.empty() && open_.back().node.kind == Node::Kind::mapping && !open_.back().hasKey;
  }
  Node& root() noexcept { return root_; }

 private:
  struct Open {
    Node node;
    Node key;
    bool hasKey;
  };

  void add(Node node) {
    if (open_.empty()) {
      root_ = std::move(node);
      return;
    }
    Open& in = open_.back();
    if (expectsKey()) {
      in.key = std::move(node);
      in.hasKey = true;
      return;
    }
    in.node.members.push_back({std::exchange(in.key, {}), std::move(node)});
    in.hasKey = false;
  }

  std::vector<Open> open_;
  Node root_;
};

}  // namespace Agent
