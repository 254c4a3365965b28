#include "agent/Process/Candidate.h"

#include <iostream>

#include "agent/Process/ExitStatus.h"
#include "agent/Process/Output.h"
#include "agent/Schema/Check.h"
#include "agent/Schema/Warnings.h"

namespace Agent {

Document loadInto(const std::vector<std::string>& files, const CommonOptions& options,
                  Timing& timing, Diagnostics& diagnostics) {
  Document document = load(files, diagnostics);
  timing.step("read");
  check(document, diagnostics);
  timing.step("check");
  if (diagnostics.errors() == 0) {
    warn(document.root, {options.maxExpansion}, diagnostics);
    timing.step("look for what will not reach the hardware");
  }
  return document;
}

std::optional<Document> loadChecked(const std::vector<std::string>& files,
                                    const CommonOptions& options, Timing& timing, int& status) {
  Diagnostics diagnostics;
  Document document = loadInto(files, options, timing, diagnostics);
  diagnostics.print(std::cerr, messageStyle(options));
  status = done;
  if (diagnostics.errors() != 0) status = diagnostics.isUnreadable() ? unreachable : refused;
  if (status == done && options.strict && diagnostics.warnings() != 0) status = answerIsNo;
  if (status != done) return std::nullopt;
  return document;
}

}  // namespace Agent
