#include <array>
#include <utility>

#include "agent/Command/Commands.h"
#include "agent/Command/GeneratedTexts.h"
#include "agent/Process/ExitStatus.h"
#include "agent/Process/Output.h"
#include "agent/Schema/JsonSchema.h"

namespace Agent {
namespace {

struct Generated {
  const char* name;
  std::string (*text)();
};

constexpr std::array<Generated, 5> all{{{"man", [] { return manPage(program()); }},
                                        {"bash", [] { return bashCompletion(program()); }},
                                        {"zsh", [] { return zshCompletion(program()); }},
                                        {"fish", [] { return fishCompletion(program()); }},
                                        {"schema", jsonSchema}}};

int generate(const CommonOptions& /*options*/, const Arguments& given) {
  for (const auto& [name, text] : all) {
    if (given.text("WHAT") == name) return writeOutput(text(), given.text("--output"));
  }
  return refused;
}

}  // namespace

Command generateCommand() {
  std::string names;
  for (const auto& [name, text] : all) names.append(names.empty() ? "" : "|").append(name);
  return {.name = "generate",
          .summary = "writes the man page, a shell's completion or the schema for editors",
          .example = "generate schema",
          .options = {Option::argument("WHAT", "the man page, a shell's completion, or the schema",
                                       names)
                          .required(),
                      outputOption()},
          .run = generate};
}

}  // namespace Agent
