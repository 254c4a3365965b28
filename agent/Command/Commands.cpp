#include "agent/Command/Commands.h"

#include <string>
#include <utility>

namespace Agent {

Command program() {
  const CommonOptions otherwise;
  Command all{
      .name = "fwagent",
      .summary =
          "fwagent reads a switch's firewall configuration, compiles it, and shows what "
          "reaches the hardware",
      .example = "compile examples/campus",
      .options = {
          Option::flag("-q,--quiet", "no warnings and no summaries"),
          Option::flag("--strict", "warnings are failures: status 1"),
          Option::flag("--timing", "how long each step took, on standard error"),
          Option::number("--max-errors",
                         "how many errors are shown, and how many warnings; 0 for all")
              .otherwise(std::to_string(otherwise.maxErrors)),
          Option::number("--max-expansion",
                         "hardware rules that one rule may become without a warning")
              .otherwise(std::to_string(otherwise.maxExpansion)),
          Option::of("--color", "auto|always|never", "auto: on a terminal, unless NO_COLOR is set")
              .otherwise(otherwise.color),
          Option::of("--flight-recorder", "FILE", "trace into this file, which fleetlog reads"),
          Option::of("--log", "FACILITY/LEVEL",
                     "trace FACILITY up to LEVEL (0 to 9) on standard error; may be repeated")
              .repeated(),
      }};
#define FWAGENT_ADD_COMMAND(name) all.below.push_back(name##Command());
#define FWAGENT_ADD_COMMANDS(name) \
  for (Command & each : name##Commands()) all.below.push_back(std::move(each));
  FWAGENT_COMMANDS(FWAGENT_ADD_COMMAND, FWAGENT_ADD_COMMANDS)
#undef FWAGENT_ADD_COMMAND
#undef FWAGENT_ADD_COMMANDS
  return all;
}

std::vector<Option> helpOptions() {
  return {Option::flag("-h,--help", "Print this help message and exit"),
          Option::flag("--help-all", "the help of every command")};
}

CommonOptions commonOptionsOf(const Arguments& given) {
  return {.quiet = given.flag("--quiet"),
          .timing = given.flag("--timing"),
          .strict = given.flag("--strict"),
          .color = given.text("--color"),
          .maxErrors = given.number("--max-errors"),
          .maxExpansion = given.number("--max-expansion"),
          .flightRecorder = given.text("--flight-recorder"),
          .logs = given.texts("--log")};
}

}  // namespace Agent
