#include "agent/Command/Commands.h"
#include "agent/Process/Candidate.h"
#include "agent/Process/ExitStatus.h"

namespace Agent {

namespace {

int check(const CommonOptions& options, const Arguments& given) {
  Timing timing(options);
  int status = done;
  loadChecked(given.texts("FILE"), options, timing, status);
  return status;
}

}  // namespace

Command checkCommand() {
  return {.name = "check",
          .summary = "errors and warnings of a configuration; touches nothing",
          .example = "check examples/campus",
          .options = {filesArgument()},
          .run = check};
}

}  // namespace Agent
