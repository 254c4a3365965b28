// A command of the program, declared once: parsing and dispatch, the help, the man page and the
// completions are made from the declaration.
//
//   int greet(const CommonOptions& options, const Arguments& given) {
//     return writeOutput("hello " + given.text("--name") + "\n", {});
//   }
//   Command greetCommand() {
//     return {.name = "greet",
//             .summary = "says hello",
//             .example = "greet --name you",
//             .options = {Option::of("--name", "NAME", "whom to greet")},
//             .run = greet};
//   }
//
// in a file of its own, and a line in Commands.h.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <variant>
#include <vector>

#include "agent/Process/CommonOptions.h"
#include "agent/Process/Option.h"

namespace Agent {

// What was given for the options that are declared: for those of the command, of the one that it
// belongs to, and of all. Asking for one that is not declared is a fault of the program.
class Arguments {
 public:
  using Value = std::variant<bool, std::string, std::size_t, std::vector<std::string>>;

  explicit Arguments(const Arguments* above = nullptr) : above_(above) {}

  // The place of the value of an option; it stays where it is.
  Value& declare(const Option& option);

  bool flag(const std::string& name) const { return std::get<bool>(at(name)); }
  const std::string& text(const std::string& name) const { return std::get<std::string>(at(name)); }
  std::size_t number(const std::string& name) const { return std::get<std::size_t>(at(name)); }
  const std::vector<std::string>& texts(const std::string& name) const {
    return std::get<std::vector<std::string>>(at(name));
  }

 private:
  const Value& at(const std::string& name) const;

  const Arguments* above_;
  std::map<std::string, Value> values_;
};

struct Command {
  std::string name;
  std::string summary;
  std::string example;  // without the program's name
  std::vector<Option> options = {};
  // The status to exit with (Process/ExitStatus.h).
  std::function<int(const CommonOptions&, const Arguments&)> run = {};
  std::vector<Command> below = {};  // one of which is wanted, in place of `run`
};

// Options that several commands have.
Option filesArgument();                    // "FILE", texts
Option configurationOption();              // "--file", texts
Option outputOption();                     // "--output"
Option socketOption();                     // "--socket"
Option formatOption(std::string formats);  // "--format", "text|json"; the first where none is given

}  // namespace Agent
