// Looking things up in a document's tree without asking at each step whether it is there.
//
//   below(below(root, "app"), "web").members      // empty where there is no such application
//   textBelow(application, "af") == "ipv4"
//   const Member* app = memberOf(below(root, "app"), "web");
//   if (app != nullptr) ... app->key.place        // where it was written
//
// What is not there is the one absent() node, an empty mapping, below which nothing is there
// either. Each look-up costs a walk of the members, as Node::find() does.
#pragma once

#include <string_view>

#include "agent/Document/Node.h"

namespace Agent {

inline const Node& absent() noexcept {
  static const Node node{Node::Kind::mapping, {}, {}, {}};
  return node;
}
inline bool isAbsent(const Node& node) noexcept { return &node == &absent(); }

inline const Node& below(const Node& node, std::string_view name) noexcept {
  const Node* const found = node.find(name);
  return found == nullptr ? absent() : *found;
}
inline std::string_view textBelow(const Node& node, std::string_view name) noexcept {
  return below(node, name).text;
}

// Null when there is none.
inline const Member* memberOf(const Node& node, std::string_view name) noexcept {
  for (const Member& member : node.members) {
    if (member.key.text == name) return &member;
  }
  return nullptr;
}

}  // namespace Agent
