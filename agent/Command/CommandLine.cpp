#include "agent/Command/CommandLine.h"

// The one file that knows the library which parses command lines: it is large.
#include <CLI/CLI.hpp>
#include <exception>
#include <functional>
#include <iostream>
#include <list>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

#include "agent/Command/Commands.h"
#include "agent/Process/ExitStatus.h"
#include "agent/Process/Output.h"
#include "agent/Process/Traces.h"

namespace Agent {
namespace {

class CommandLine {
 public:
  explicit CommandLine(const Command& program) : app_(program.summary, program.name) {
    app_.fallthrough();
    const std::vector<Option> help = helpOptions();
    app_.set_help_flag(help[0].names, help[0].what);
    app_.set_help_all_flag(help[1].names, help[1].what);
    fill(app_, program, given_.emplace_back());
    app_.footer("Exit status: " + std::string(exitStatusText) + "\nExample: fwagent " +
                program.example);
  }

  int run(int count, char** arguments) {
    try {
      app_.parse(count, arguments);
    } catch (const CLI::ParseError& error) {
      const int status = app_.exit(error, std::cout, std::cerr);
      return status == 0 ? done : refused;
    }
    const CommonOptions options = commonOptionsOf(given_.front());
    const int traces = startTraces(options);
    return traces == done ? run_(options) : traces;
  }

 private:
  void fill(CLI::App& app, const Command& command, Arguments& given) {
    for (const Option& option : command.options) declare(app, option, given.declare(option));
    if (!command.below.empty()) app.require_subcommand(1);
    for (const Command& below : command.below) {
      CLI::App* const made = app.add_subcommand(below.name, below.summary);
      made->footer("fwagent --help has the options of every command.\nExample: fwagent " +
                   below.example);
      Arguments& givenBelow = given_.emplace_back(&given);
      fill(*made, below, givenBelow);
      if (!below.run) continue;
      made->callback([this, run = below.run, &givenBelow] {
        run_ = [run, &givenBelow](const CommonOptions& options) {
          return run(options, givenBelow);
        };
      });
    }
  }

  static void declare(CLI::App& app, const Option& option, Arguments::Value& into) {
    CLI::Option* const made = std::visit(
        [&](auto& value) -> CLI::Option* {
          if constexpr (std::is_same_v<decltype(value), bool&>) {
            return app.add_flag(option.names, value);
          } else {
            return app.add_option(option.names, value);
          }
        },
        into);
    made->description(option.what)->required(option.isRequired);
    if (option.takes == Option::Takes::nothing) return;
    made->type_name(option.value);
    if (!option.byDefault.empty()) made->capture_default_str();
    if (option.takes == Option::Takes::number) {
      made->check(CLI::Validator(CLI::NonNegativeNumber).description(""));
    }
    if (option.takes == Option::Takes::texts) {
      if (option.most != Option::any) {
        made->expected(static_cast<int>(option.least), static_cast<int>(option.most));
      }
      if (!option.isArgument) made->allow_extra_args(false);
    }
    // Without the words in the description, where the value has them.
    if (const auto words = option.choices(); !words.empty()) {
      made->option_text(option.value)->check(CLI::Validator(CLI::IsMember(words)).description(""));
    }
  }

  CLI::App app_;
  std::list<Arguments> given_;  // the program's first
  std::function<int(const CommonOptions&)> run_;
};

}  // namespace

int runCommandLine(int count, char** arguments) {
  try {
    return CommandLine(program()).run(count, arguments);
  } catch (const std::exception& error) {
    return fail(unreachable, error.what());
  }
}

}  // namespace Agent
