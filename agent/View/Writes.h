// The writes that a hardware agent sees, and what they come to.
//
//   WriteRecord record(store.hwConfig);
//   ...                                     // the store changes
//   record.printText(out);                  // "~ policy/web/rule/41943041 = ..." and the sums
//
// An object or entry that was taken away and put back, and stands as it stood, is named: on the way
// the hardware was without it.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "framework/Kiv/TreeWatcher.h"
#include "model/Firewall/HwConfig.h"

namespace Agent {

class WriteRecord final : public Kiv::TreeWatcher {
 public:
  struct Write {
    Kiv::TreeChange::Kind kind;
    std::string path;
    std::string value;
    bool inProgress;  // updateInProgress was true
  };

  explicit WriteRecord(const Firewall::HwConfig::Ptr& hwConfig)
      : TreeWatcher(hwConfig), hwConfig_(hwConfig) {}

  const std::vector<Write>& writes() const noexcept { return writes_; }
  // Paths that were there before, went, and are there again with the same value.
  std::vector<std::string> putBack() const;

  void printText(std::ostream& out, bool color) const;
  void printJsonLines(std::ostream& out) const;

 private:
  struct History {
    std::optional<std::string> before;  // the value; of an object the empty text
    std::optional<std::string> now;
    bool wasAway = false;
  };

  void onChange(const Kiv::TreeChange& change) override;

  Firewall::HwConfig::Ptr hwConfig_;
  std::vector<Write> writes_;
  std::map<std::string, History> histories_;
};

}  // namespace Agent
