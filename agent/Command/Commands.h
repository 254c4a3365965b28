// The commands of the program, in the order in which they are told.
//
// Each line stands for a function in a file of its own, Command checkCommand() in CheckCommand.cpp,
// or for one that makes several.
#pragma once

#include <vector>

#include "agent/Command/Command.h"

#define FWAGENT_COMMANDS(COMMAND, COMMANDS)                      \
  COMMAND(check)                                                 \
  COMMAND(compile)                                               \
  COMMAND(diff)                                                  \
  COMMAND(explain)                                               \
  COMMAND(trace)                                                 \
  COMMAND(run)                                                   \
  COMMANDS(question) /* those that ask it: Server/Questions.h */ \
  COMMAND(generate)

namespace Agent {

#define FWAGENT_DECLARE_COMMAND(name) Command name##Command();
#define FWAGENT_DECLARE_COMMANDS(name) std::vector<Command> name##Commands();
FWAGENT_COMMANDS(FWAGENT_DECLARE_COMMAND, FWAGENT_DECLARE_COMMANDS)
#undef FWAGENT_DECLARE_COMMAND
#undef FWAGENT_DECLARE_COMMANDS

// The program itself, as a command with the others below it and the options that all of them take.
Command program();
// The options for help, of one command and of all: every command has them, and the parser answers
// them.
std::vector<Option> helpOptions();
CommonOptions commonOptionsOf(const Arguments& given);

// What its exit statuses mean, in a line.
inline constexpr const char* exitStatusText =
    "0 done; 1 the answer is no; 2 wrong usage or refused configuration; 3 I/O or no agent.";

}  // namespace Agent
