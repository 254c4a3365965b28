#include <iostream>
#include <optional>

#include "agent/Command/Commands.h"
#include "agent/Process/ExitStatus.h"
#include "agent/Process/Output.h"
#include "agent/Server/Questions.h"
#include "agent/Server/Socket.h"

namespace Agent {
namespace {

int ask(const std::string& socket, const Words& words) {
  std::string why;
  const auto answer = askAt(socketPath(socket), words, why);
  if (!answer) return fail(unreachable, why);
  if (answer->status == refused) {
    std::cerr << "fwagent: " << answer->text;
    return refused;
  }
  const int written = writeOutput(answer->text, {});
  return written == done ? answer->status : written;
}

}  // namespace

std::vector<Command> questionCommands() {
  std::vector<Command> commands;
  for (const Question& question : questions()) {
    if (question.summary.empty()) continue;
    Command command{
        .name = question.name, .summary = question.summary, .example = question.example};
    const auto& argument = question.argument;
    if (argument) command.options.push_back(*argument);
    command.options.push_back(socketOption());
    command.run = [name = question.name, argument](const CommonOptions&, const Arguments& given) {
      Words words{name};
      if (argument) {
        const Words& more = given.texts(argument->name());
        words.insert(words.end(), more.begin(), more.end());
      }
      return ask(given.text("--socket"), words);
    };
    commands.push_back(std::move(command));
  }
  return commands;
}

}  // namespace Agent
