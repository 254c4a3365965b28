#include "agent/Document/Count.h"
#include "agent/Process/ExitStatus.h"
#include "agent/Server/Questions.h"
#include "agent/Server/Verify.h"

namespace Agent {
namespace {

Answer answerVerify(RunningConfiguration& running, const Words& /*words*/) {
  const std::vector<Difference> differences = verify(running.store());
  if (differences.empty()) return {done, "the output is what its configuration makes\n"};
  std::string text;
  for (const Difference& difference : differences) {
    text += difference.path + ": is " +
            (difference.running.empty() ? "not there" : difference.running) + ", would be " +
            (difference.fresh.empty() ? "not there" : difference.fresh) + "\n    " +
            (difference.explanation.empty() ? "not explained: this is a fault"
                                            : "explained: " + difference.explanation) +
            "\n";
  }
  return {answerIsNo, text + counted(differences.size(), "difference") + "\n"};
}

}  // namespace

Question verifyQuestion() {
  return {.name = "verify",
          .summary = "whether the running output is what its configuration makes from nothing",
          .example = "verify",
          .answer = answerVerify};
}

}  // namespace Agent
