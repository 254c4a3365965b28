#include "agent/Document/Diagnostics.h"
#include "agent/Process/ExitStatus.h"
#include "agent/Process/Traces.h"
#include "agent/Server/Questions.h"
#include "framework/Kiv/TraceHelper.h"

namespace Agent {
namespace {

Answer answerTraceLevel(RunningConfiguration& /*running*/, const Words& words) {
  const auto setting = traceLevelOf(words[0] + "/" + words[1]);
  if (!setting)
    return {refused, inQuotes(words[1]) + " is not a level of 0 to 9, or -1 for none\n"};
  Kiv::TraceHelper::levelIs(setting->first, setting->second);
  // The sink that is there is kept: it is the same one.
  Kiv::TraceHelper::sinkIs(Kiv::TraceHelper::standardErrorSink());
  return {done, ""};
}

}  // namespace

Question traceLevelQuestion() {
  return {.name = "trace-level",
          .summary = "how much of a facility the running agent traces",
          .example = "trace-level 'Firewall/*' 5",
          .argument = Option::argument("FACILITY LEVEL",
                                       "a facility, or its beginning and *; a level of 0 to 9, or "
                                       "-1 for none",
                                       "TEXT")
                          .repeated(2, 2)
                          .required(),
          .answer = answerTraceLevel};
}

}  // namespace Agent
