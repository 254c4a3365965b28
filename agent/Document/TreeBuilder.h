// Makes a tree of nodes from the events that the parsers send, in their order.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "agent/Document/Count.h"
#include "agent/Document/Load.h"

namespace Agent {

class TreeBuilder {
 public:
  // False when it would be too deep or too much; tooMuch() says it.
  bool begin(Node::Kind kind, const Place& place) {
    if (open_.size() >= maxDepth || !hasRoom()) return false;
    open_.push_back({{kind, place, {}, {}}, {}, false});
    return true;
  }
  void end() {
    Node done = std::move(open_.back().node);
    open_.pop_back();
    add(std::move(done));
  }
  bool scalar(Node::Kind kind, const Place& place, std::string_view text) {
    if (!hasRoom()) return false;
    add({kind, place, text, {}});
    return true;
  }
  // Why a node was not taken.
  std::string tooMuch() const {
    return count_ > maxNodes ? "more than " + grouped(maxNodes) + " values and keys"
                             : "deeper than " + std::to_string(maxDepth) + " levels";
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

  bool hasRoom() { return ++count_ <= maxNodes; }

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
  std::size_t count_ = 0;
};

}  // namespace Agent
