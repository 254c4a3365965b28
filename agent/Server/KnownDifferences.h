// Which line of docs/behaviour.md explains a difference between what runs and what its
// configuration would make from nothing.
//
//   KnownDifferences known(store, flatTree(*store.hwConfig, {}), fresh);
//   known.of("policy/web/rule/41943041")      // "Rule identifiers are reused as soon as ..."
//
// A line is given only where the configuration has what the line speaks of.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "agent/Store/Store.h"
#include "agent/View/FlatTree.h"

namespace Agent {

class KnownDifferences {
 public:
  // The trees are those of the output, and have to outlive it.
  KnownDifferences(const Store& running, const FlatTree& now, const FlatTree& fresh);

  // Empty when no line is the reason.
  std::string_view of(const std::string& path) const;

 private:
  using Steps = std::vector<std::string>;
  using Segments = std::vector<Pith::Ptr<const Firewall::Segment>>;  // of one name, in the sources

  template <class Predicate>
  std::size_t sourcesWith(const Predicate& predicate) const;
  std::string_view ofPolicy(const std::string& path, const Steps& steps) const;
  std::string_view ofService(const std::string& path, const Steps& steps) const;
  std::string_view ofVrf(const std::string& path, const Steps& steps) const;
  std::string_view ofSegment(const std::string& path, const Steps& steps, bool isL2) const;
  std::string_view ofOwner(const std::string& path, const Steps& steps) const;
  std::string_view ofLeft(const std::string& path) const;
  std::string_view ofFallback(const std::string& path) const;
  std::string_view ofInterface(const std::string& path, const std::string& name,
                               const Segments& segments) const;
  std::string_view ofSubnets(const std::string& path, const Segments& segments) const;
  std::string_view ofLink(const std::string& path, const Segments& segments) const;
  bool portsOverlap(const Pith::String& service) const;

  const Store& running_;
  const FlatTree& now_;
  const FlatTree& fresh_;
  std::vector<Firewall::Config::Ptr> sources_;
};

}  // namespace Agent
