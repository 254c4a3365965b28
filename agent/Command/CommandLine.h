// The command line of fwagent.
#pragma once

namespace Agent {

// Parses it and runs the command; returns the status to exit with.
int runCommandLine(int count, char** arguments);

}  // namespace Agent
