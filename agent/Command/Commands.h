// The commands. Each returns the status to exit with (Common.h).
#pragma once

#include <string>
#include <vector>

#include "agent/Process/Common.h"

namespace Agent {

using Files = std::vector<std::string>;

int checkCommand(const CommonOptions& options, const Files& files);

enum class Format { text, json, yaml };
int compileCommand(const CommonOptions& options, const Files& files, Format format,
                   const std::string& output);

// Old and new are a file or directory each.
int diffCommand(const CommonOptions& options, const std::string& before, const std::string& after,
                Format format, bool exitCode);

// answerIsNo when there is no such thing. `in` is a policy or a VRF.
enum class Explained { rule, hardwareRule, prefix, segment };
int explainCommand(const CommonOptions& options, const Files& files, Explained what,
                   const std::string& in, const std::string& which);

// A packet as it was written; ports empty when they were not given.
struct TracedPacket {
  std::string vrf = "default";
  std::string in;  // INTF or INTF:VLAN
  std::string source;
  std::string destination;
  std::string protocol;
  std::string sourcePort;
  std::string destinationPort;
  std::string expect;  // permit or drop
};
int traceCommand(const CommonOptions& options, const Files& files, const TracedPacket& given);

// Stays until SIGTERM or SIGINT; reads the files again at SIGHUP and, with `watch`, when they
// change.
int runCommand(const CommonOptions& options, const Files& files, bool watch);
// Asks the running agent.
int askCommand(const CommonOptions& options, const std::vector<std::string>& words);

}  // namespace Agent
