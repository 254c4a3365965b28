// What the program ends with, and so what a command, a step of one, or an answer of the running
// agent comes to.
#pragma once

namespace Agent {

enum ExitStatus {
  done = 0,
  answerIsNo = 1,   // --exit-code, --expect, --strict
  refused = 2,      // wrong usage or a refused configuration
  unreachable = 3,  // a file that cannot be read or written, or no agent
};

}  // namespace Agent
