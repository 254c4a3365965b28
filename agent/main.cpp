// The host agent. What it does is in Command/.
#include "agent/Command/CommandLine.h"

int main(int count, char** arguments) { return Agent::runCommandLine(count, arguments); }
