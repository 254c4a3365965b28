// How many hardware rules an application becomes, before any is made.
//
//   Expansion::of(root, "web").rules()            // 12
//   Expansion::of(root, "web").arithmetic()       // "3 sources x 1 destination x 4 of protocols
//   and
//                                                 // ports"
//
// Each combination of a source prefix, a destination prefix and a protocol is a rule; for TCP and
// UDP each pair of destination and source ports too. An empty set counts as one that matches all.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "agent/Document/Node.h"

namespace Agent {

class Expansion {
 public:
  static Expansion of(const Node& root, std::string_view application);

  // Such an application makes no rules at all.
  bool matchesNothing() const noexcept {
    return sources_ == 0 && destinations_ == 0 && !protocols_;
  }
  std::uint64_t rules() const noexcept;
  std::string arithmetic() const;

 private:
  std::uint64_t sources_ = 0;
  std::uint64_t destinations_ = 0;
  std::uint64_t headers_ = 1;  // combinations of protocol and ports
  bool protocols_ = false;     // has any
};

}  // namespace Agent
