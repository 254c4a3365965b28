#include <sstream>

#include "agent/Command/Commands.h"
#include "agent/Store/Reconcile.h"
#include "agent/View/Writes.h"

namespace Agent {

int diffCommand(const CommonOptions& options, const std::string& before, const std::string& after,
                Format format, bool exitCode) {
  Timing timing(options);
  int status = done;
  Store store;
  {
    const auto document = loadChecked({before}, options, timing, status);
    if (!document) return status;
    apply(planOf(store, document->root), store);
    store.start();
    timing.step("compile the old");
  }
  const auto document = loadChecked({after}, options, timing, status);
  if (!document) return status;
  std::ostringstream text;
  {
    WriteRecord record(store.hwConfig);
    const Plan plan = planOf(store, document->root);
    timing.step("compare");
    apply(plan, store);
    timing.step("commit the new");
    if (format == Format::json) {
      record.printJsonLines(text);
    } else {
      record.printText(text, isColored(options, 1));
    }
    if (exitCode && !record.writes().empty()) status = answerIsNo;
  }
  const int written = writeOutput(text.str(), {});
  return written == done ? status : written;
}

}  // namespace Agent
