#include "agent/Command/Commands.h"

namespace Agent {

int checkCommand(const CommonOptions& options, const Files& files) {
  Timing timing(options.timing);
  int status = done;
  loadChecked(files, options, timing, status);
  return status;
}

}  // namespace Agent
