#include "agent/Command/Commands.h"

namespace Agent {

int checkCommand(const CommonOptions& options, const Files& files) {
  Timing timing(options);
  int status = done;
  loadChecked(files, options, timing, status);
  return status;
}

}  // namespace Agent
