// A hardware agent that holds the library to its contract while it happens: it keeps tables of its
// own from the notifications alone, and fails the test at the write that
//
//   - adds an entry twice, changes or removes one that it does not know, or tells a previous value
//     that is not the one it was told before;
//   - writes a rule whose identifier encodes another sequence number, or index 0;
//   - links a segment to a segment or policy that is not in the tables, or is not the one in them;
//   - leaves, once `updateInProgress` is false again, a link to what has gone.
//
// checkAtRest() compares its tables with the output itself, and `updateInProgress` with false.
#pragma once

#include <map>
#include <string>

#include "framework/Kiv/TreeWatcher.h"
#include "model/Firewall/HwConfig.h"

namespace TestSupport {

class FakeHardwareAgent final : public Kiv::TreeWatcher {
 public:
  explicit FakeHardwareAgent(const Firewall::HwConfig::Ptr& hwConfig);

  void checkAtRest() const;

 private:
  void onChange(const Kiv::TreeChange& change) override;
  void onRule(const Kiv::TreeChange& change) const;
  void onLink(const Kiv::TreeChange& change) const;
  void checkLinks() const;
  void checkSegmentLinks(const Firewall::FwSegmentDir& directory) const;
  bool isInTables(const Firewall::FwPolicy& policy) const;

  Firewall::HwConfig::Ptr hwConfig_;
  std::map<std::string, std::string> tables_;  // path to value
};

}  // namespace TestSupport
