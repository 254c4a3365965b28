// What is made from the command line's own description, so that it is never stale: the man page and
// the completions of shells.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace Agent {

std::string manPage(const CLI::App& app);
std::string bashCompletion(const CLI::App& app);
std::string zshCompletion(const CLI::App& app);
std::string fishCompletion(const CLI::App& app);

}  // namespace Agent
