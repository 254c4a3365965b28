// Everything below an object, each value, entry and child by its path: to compare two trees.
//
//   const FlatTree now = flatTree(*store.hwConfig, "");
//   now.at("policy/web/rule/41943041").text     // "seqnum=10,sip=..."
//   now.at("policy/web").text                   // "there": a child
//
// What lies below a path stands right behind it, since the paths are in the order of their steps.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "framework/Kiv/Object.h"

namespace Agent {

// By steps: "a/b" comes before "a-c".
struct PathOrder {
  bool operator()(std::string_view a, std::string_view b) const noexcept;
};

struct FlatValue {
  std::string text;
  bool isEntry;  // of a collection, or a child
  friend bool operator==(const FlatValue&, const FlatValue&) = default;
};

using FlatTree = std::map<std::string, FlatValue, PathOrder>;

// References are the names of what they refer to. The paths begin with `prefix`.
FlatTree flatTree(const Kiv::Object& object, const std::string& prefix);

// Whether `path` is `above` or lies below it.
bool isAtOrBelow(std::string_view path, std::string_view above) noexcept;

}  // namespace Agent
