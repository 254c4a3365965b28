// A document as a tree in which every node knows where it was written.
//
//   Node root = ...;                            // of a file {"app": {"web": {"proto": ["tcp"]}}}
//   const Node* app = root.find("app");         // null when there is none
//   app->members[0].key.text                    // "web"
//   app->place.line                             // 1
//
// JSON and YAML give the same tree. Texts are views into memory of the Document (Load.h). A mapping
// keeps its members in the order of the file, duplicates too: who reads it knows what a duplicate
// is. Checking (Schema/Check.h) rewrites the tree into the shape of the store.
//
// find() costs a walk of the members.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace Agent {

struct Place {
  std::uint16_t file = 0;    // index into Diagnostics::files
  std::uint32_t line = 0;    // from 1; 0: the file as a whole
  std::uint32_t column = 0;  // from 1, in characters
  friend auto operator<=>(const Place&, const Place&) = default;
};

struct Member;

struct Node {
  enum class Kind : std::uint8_t { null, boolean, number, string, mapping, sequence };

  Kind kind = Kind::null;
  Place place;
  std::string_view text;        // of a scalar; of a checked record its text form
  std::vector<Member> members;  // of a sequence the values alone

  bool isScalar() const noexcept { return kind != Kind::mapping && kind != Kind::sequence; }
  inline const Node* find(std::string_view name) const noexcept;
  inline Node* find(std::string_view name) noexcept;
};

struct Member {
  Node key;
  Node value;
};

inline const Node* Node::find(std::string_view name) const noexcept {
  for (const Member& member : members) {
    if (member.key.text == name) return &member.value;
  }
  return nullptr;
}
inline Node* Node::find(std::string_view name) noexcept {
  return const_cast<Node*>(static_cast<const Node*>(this)->find(name));
}

// "a mapping", "a number": for messages.
constexpr std::string_view kindName(Node::Kind kind) noexcept {
  switch (kind) {
    case Node::Kind::null:
      return "nothing";
    case Node::Kind::boolean:
      return "true or false";
    case Node::Kind::number:
      return "a number";
    case Node::Kind::string:
      return "a text";
    case Node::Kind::mapping:
      return "a mapping";
    default:
      return "a list";
  }
}

}  // namespace Agent
