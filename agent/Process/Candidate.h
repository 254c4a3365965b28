// A candidate: files, read and checked as the options of every command ask for it.
//
//   int status = done;
//   const auto document = loadChecked({"examples/campus"}, options, timing, status);
//   if (!document) return status;
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "agent/Document/Diagnostics.h"
#include "agent/Document/Load.h"
#include "agent/Process/CommonOptions.h"
#include "agent/Process/Timing.h"

namespace Agent {

// Reads and checks; tells on standard error. None, with the status to exit with, when the
// configuration is refused; with `strict`, warnings refuse it with answerIsNo.
std::optional<Document> loadChecked(const std::vector<std::string>& files,
                                    const CommonOptions& options, Timing& timing, int& status);
// The same into `diagnostics`, telling nothing.
Document loadInto(const std::vector<std::string>& files, const CommonOptions& options,
                  Timing& timing, Diagnostics& diagnostics);

}  // namespace Agent
