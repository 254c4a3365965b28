#include <sstream>

#include "agent/Command/Commands.h"
#include "agent/Process/Candidate.h"
#include "agent/Process/ExitStatus.h"
#include "agent/Process/Output.h"
#include "agent/Store/Reconcile.h"
#include "agent/View/Writes.h"

namespace Agent {

namespace {

int diff(const CommonOptions& options, const Arguments& given) {
  Timing timing(options);
  int status = done;
  Store store;
  {
    const auto document = loadChecked({given.text("OLD")}, options, timing, status);
    if (!document) return status;
    apply(planOf(store, document->root), store);
    store.start();
    timing.step("compile the old");
  }
  const auto document = loadChecked({given.text("NEW")}, options, timing, status);
  if (!document) return status;
  std::ostringstream text;
  {
    WriteRecord record(store.hwConfig);
    const Plan plan = planOf(store, document->root);
    timing.step("compare");
    apply(plan, store);
    timing.step("commit the new");
    if (given.text("--format") == "json") {
      record.printJsonLines(text);
    } else {
      record.printText(text, isColored(options, 1));
    }
    if (given.flag("--exit-code") && !record.writes().empty()) status = answerIsNo;
  }
  const int written = writeOutput(text.str(), {});
  return written == done ? status : written;
}

}  // namespace

Command diffCommand() {
  return {.name = "diff",
          .summary = "every write that the hardware agent sees when OLD becomes NEW",
          .example = "diff examples/campus/switch.yaml examples/campus",
          .options = {Option::argument("OLD", "a file or directory").required(),
                      Option::argument("NEW", "a file or directory").required(),
                      formatOption("text|json"),
                      Option::flag("--exit-code", "status 1 when anything changed")},
          .run = diff};
}

}  // namespace Agent
