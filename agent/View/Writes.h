// The writes that the hardware sees, and what they come to.
//
//   WriteRecord record(store.hwConfig);
//   ...                                     // the store changes
//   record.printText(out);                  // "~ policy/web/rule/41943041 = ..." and the sums
//
// It also names each object or entry that was removed and put back just as it was, with all that is
// below it: in between the hardware was without it.
//
// Cost: all of the tables as text, twice.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <map>
#include <string>
#include <vector>

#include "agent/View/FlatTree.h"
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
      : TreeWatcher(hwConfig), hwConfig_(hwConfig), before_(flatTree(*hwConfig, {})) {}

  const std::vector<Write>& writes() const noexcept { return writes_; }
  // The paths of what was removed and put back just as it was, with all that is below. A path below
  // another one of them is left out.
  std::vector<std::string> putBack() const;

  void printText(std::ostream& out, bool color) const;
  void printJsonLines(std::ostream& out) const;

 private:
  struct Sum {
    std::size_t added = 0;
    std::size_t changed = 0;
    std::size_t removed = 0;
  };
  std::map<std::string, Sum> sums() const;  // by object

  void onChange(const Kiv::TreeChange& change) override;

  Firewall::HwConfig::Ptr hwConfig_;
  FlatTree before_;
  std::vector<Write> writes_;
};

}  // namespace Agent
