// Where something in the tables comes from, and what became of something in the configuration, down
// to file and line.
//
//   Explainer explainer(document.root, store, diagnostics, std::cout);
//   explainer.rule("to-servers", 10);          // false: there is no such rule
//
// The document is checked, the store compiled from it, and the diagnostics hold the warnings: they
// are the reasons why something is missing.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

#include "agent/Document/Diagnostics.h"
#include "agent/Document/Node.h"
#include "agent/Store/Store.h"

namespace Agent {

class Explainer {
 public:
  Explainer(const Node& root, const Store& store, const Diagnostics& diagnostics, std::ostream& out)
      : root_(root), store_(store), diagnostics_(diagnostics), out_(out) {}

  // Each writes what it finds; false, with one line that says so, when there is no such thing.
  bool rule(std::string_view policy, std::uint32_t seqnum);
  bool hardwareRule(std::string_view policy, std::uint32_t ruleId);
  bool prefix(std::string_view vrf, std::string_view text);
  bool segment(std::string_view vrf, std::string_view name);  // "l2": of the L2 directory

 private:
  std::string at(const Place& place) const { return diagnostics_.placeText(place); }
  void reasons(const std::string& path, std::string_view indent) const;
  void application(std::string_view name) const;
  void fieldSet(const Node& application, std::string_view field, std::string_view part,
                std::string_view values) const;
  void hardwareRules(std::string_view policy, std::uint32_t seqnum) const;
  void segmentOf(const Member& source, const Member& segment, const std::string& path,
                 const Firewall::FwSegment* compiled) const;
  // Of the prefixes in the tables that hold this one.
  void longestAround(const Firewall::FwVrf& vrf, const Lanx::IpGenPrefix& prefix) const;
  // Tells of the places of the list where the prefix is; whether there are any.
  bool claims(const Member& source, const Member& segment, std::string_view prefix) const;

  const Node& root_;
  const Store& store_;
  const Diagnostics& diagnostics_;
  std::ostream& out_;
};

}  // namespace Agent
