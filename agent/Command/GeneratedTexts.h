// What is made from the declarations of the commands, so that it is never stale: the man page and
// the completions of shells.
#pragma once

#include <string>

#include "agent/Command/Command.h"

namespace Agent {

std::string manPage(const Command& program);
std::string bashCompletion(const Command& program);
std::string zshCompletion(const Command& program);
std::string fishCompletion(const Command& program);

}  // namespace Agent
