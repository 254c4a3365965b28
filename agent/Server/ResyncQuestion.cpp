#include "agent/Document/Count.h"
#include "agent/Process/ExitStatus.h"
#include "agent/Server/Questions.h"
#include "agent/Store/Reconcile.h"

namespace Agent {
namespace {

Answer answerResync(RunningConfiguration& running, const Words& /*words*/) {
  const std::uint64_t before = running.writes();
  resync(running.store());
  return {done, counted(running.writes() - before, "write") + "\n"};
}

}  // namespace

Question resyncQuestion() {
  return {.name = "resync",
          .summary = "makes the running output so, by disabling and enabling the sources",
          .example = "resync",
          .answer = answerResync};
}

}  // namespace Agent
