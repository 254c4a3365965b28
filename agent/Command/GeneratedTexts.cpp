#include "agent/Command/GeneratedTexts.h"

#include <algorithm>
#include <sstream>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/Command/Commands.h"

namespace Agent {
namespace {

// A command with the words that lead to it: "explain rule"; none for the program itself.
struct CommandText {
  std::string name;
  const Command& command;

  // Those that it has itself.
  std::vector<Option> options() const {
    std::vector<Option> all = helpOptions();
    for (const Option& option : command.options) {
      if (!option.isArgument) all.push_back(option);
    }
    return all;
  }
  std::vector<Option> arguments() const {
    std::vector<Option> all;
    for (const Option& option : command.options) {
      if (option.isArgument) all.push_back(option);
    }
    return all;
  }
  std::vector<std::string> subcommands() const {
    std::vector<std::string> names;
    for (const Command& below : command.below) names.push_back(below.name);
    return names;
  }
};

void addTexts(const Command& command, const std::string& name, std::vector<CommandText>& all) {
  all.push_back({name, command});
  for (const Command& below : command.below) {
    addTexts(below, name.empty() ? below.name : name + " " + below.name, all);
  }
}

// The program itself, its commands, and theirs.
std::vector<CommandText> commandsOf(const Command& program) {
  std::vector<CommandText> all;
  addTexts(program, {}, all);
  return all;
}

// "-o" and "--output".
std::vector<std::string> namesOf(const Option& option) {
  std::vector<std::string> names;
  std::istringstream words(option.names);
  for (std::string word; std::getline(words, word, ',');) names.push_back(word);
  return names;
}

std::string joined(const std::vector<std::string>& words, std::string_view separator) {
  std::string text;
  for (const std::string& word : words) {
    if (!text.empty()) text += separator;
    text += word;
  }
  return text;
}

// Of roff: dashes that may be typed, and no line that begins with a control character.
std::string roff(std::string_view text) {
  std::string result;
  for (const char character : text) {
    if (character == '-' || character == '\\') result += '\\';
    result += character;
    if (character == '\n') result += ".br\n\\&";
  }
  return result;
}

void manOptions(std::string& page, const CommandText& command) {
  for (const Option& argument : command.arguments()) {
    page += ".TP\n\\fI" + roff(argument.name()) + "\\fR\n\\&" + roff(argument.what) + "\n";
  }
  for (const Option& option : command.options()) {
    const bool isHelp = option.name().rfind("--help", 0) == 0;
    if (isHelp && !command.name.empty()) continue;  // it is told once
    page += ".TP\n\\fB" + roff(joined(namesOf(option), ", ")) + "\\fR";
    if (!option.value.empty()) page += " \\fI" + roff(option.value) + "\\fR";
    page += "\n\\&" + roff(option.what) + "\n";
  }
}

// For single quotes of a shell.
std::string shellText(std::string_view text) {
  std::string result;
  for (const char character : text)
    result += character == '\'' ? std::string("'\\''") : std::string(1, character);
  return result;
}

// Cases of a shell that take the words "<command so far> <next word>" to the next command.
std::string commandCases(const std::vector<CommandText>& commands) {
  std::string text;
  for (const CommandText& command : commands) {
    if (command.name.empty()) continue;
    const std::size_t blank = command.name.find(' ');
    const bool isBelow = blank != std::string::npos;
    text.append("    '").append(isBelow ? command.name : " " + command.name);
    text.append("') command='").append(command.name).append("' ;;\n");
  }
  return text;
}

// Cases of a shell that take "<command> <option>" to the option's choices.
std::string choiceCases(const std::vector<CommandText>& commands, const std::string& begin,
                        const std::string& end) {
  std::string text;
  for (const CommandText& command : commands) {
    for (const Option& option : command.options()) {
      if (option.choices().empty()) continue;
      // The options of the program itself are those of every command.
      const std::string name = command.name.empty() ? "*'" : "'" + command.name;
      text.append("    ").append(name).append(" ").append(option.name()).append("') ");
      text.append(begin).append(joined(option.choices(), " ")).append(end).append(" ;;\n");
    }
  }
  return text;
}

std::vector<std::string> choicesOfArguments(const CommandText& command) {
  std::vector<std::string> words;
  for (const Option& argument : command.arguments()) {
    for (std::string& word : argument.choices()) words.push_back(std::move(word));
  }
  return words;
}

std::vector<std::string> optionWords(const CommandText& command) {
  std::vector<std::string> words;
  for (const Option& option : command.options()) {
    for (std::string& word : namesOf(option)) words.push_back(std::move(word));
  }
  return words;
}

}  // namespace

std::string manPage(const Command& program) {
  const std::vector<CommandText> commands = commandsOf(program);
  std::string page =
      ".TH FWAGENT 1\n.SH NAME\nfwagent \\- host agent of the firewall configuration\n"
      ".SH SYNOPSIS\n.B fwagent\n[\\fIOPTION\\fR...] \\fICOMMAND\\fR ...\n.SH DESCRIPTION\n\\&" +
      roff(program.summary) + ".\n.SH OPTIONS\nThese are taken by every command.\n";
  manOptions(page, commands.front());
  page += ".SH COMMANDS\n";
  for (const CommandText& command : commands) {
    if (command.name.empty()) continue;
    page += ".SS fwagent " + roff(command.name);
    for (const Option& each : command.arguments()) page += " " + roff(each.name());
    page += "\n\\&" + roff(command.command.summary) + "\n";
    manOptions(page, command);
    page += ".PP\n" + roff("Example: fwagent " + command.command.example) + "\n";
  }
  return page + ".SH EXIT STATUS\n" + exitStatusText + "\n.SH SEE ALSO\n.BR fleetlog (1)\n";
}

std::string bashCompletion(const Command& program) {
  const std::vector<CommandText> commands = commandsOf(program);
  std::string text =
      "_fwagent() {\n"
      "  local word=${COMP_WORDS[COMP_CWORD]} command= each\n"
      "  for each in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n"
      "    case \"$command $each\" in\n";
  text += commandCases(commands);
  text += "    esac\n  done\n  local words\n  case \"$command\" in\n";
  const std::string common = joined(optionWords(commands.front()), " ");
  for (const CommandText& command : commands) {
    text += "    '" + command.name + "') words='" + joined(command.subcommands(), " ") + " " +
            joined(choicesOfArguments(command), " ") + " " + joined(optionWords(command), " ") +
            (command.name.empty() ? "" : " " + common) + "' ;;\n";
  }
  return text +
         "  esac\n"
         "  case \"$command ${COMP_WORDS[COMP_CWORD-1]}\" in\n" +
         choiceCases(commands, "mapfile -t COMPREPLY < <(compgen -W '", "' -- \"$word\"); return") +
         "  esac\n"
         "  mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$word\")\n"
         "  [[ $word == -* ]] || mapfile -t -O ${#COMPREPLY[@]} COMPREPLY < <(compgen -f -- "
         "\"$word\")\n"
         "}\n"
         "complete -o filenames -F _fwagent fwagent\n";
}

std::string zshCompletion(const Command& program) {
  const std::vector<CommandText> commands = commandsOf(program);
  std::string text =
      "#compdef fwagent\n"
      "local command= each\n"
      "for each in ${words[2,CURRENT-1]}; do\n"
      "  case \"$command $each\" in\n";
  text += commandCases(commands);
  text += "  esac\ndone\nlocal -a known\ncase \"$command\" in\n";
  for (const CommandText& command : commands) {
    text += "  '" + command.name + "') known=(" + joined(command.subcommands(), " ") + " " +
            joined(choicesOfArguments(command), " ");
    for (const CommandText* each : {&command, &commands.front()}) {
      if (each == &commands.front() && command.name.empty()) continue;
      text += " " + joined(optionWords(*each), " ");
    }
    text += ") ;;\n";
  }
  return text + "esac\ncase \"$command ${words[CURRENT-1]}\" in\n" +
         choiceCases(commands, "known=(", "); compadd -a known; return") +
         "esac\ncompadd -a known\n_files\n";
}

std::string fishCompletion(const Command& program) {
  std::string text;
  for (const CommandText& command : commandsOf(program)) {
    std::string condition = "__fish_use_subcommand";
    if (!command.name.empty()) {
      const std::size_t blank = command.name.find(' ');
      condition = "__fish_seen_subcommand_from " + command.name.substr(0, blank);
      if (blank != std::string::npos) {
        condition += "; and __fish_seen_subcommand_from " + command.name.substr(blank + 1);
      }
    }
    const std::string line = "complete -c fwagent -n '" + condition + "'";
    for (const std::string& name : command.subcommands()) {
      text.append(line).append(" -a ").append(name).append("\n");
    }
    for (const std::string& word : choicesOfArguments(command)) {
      text.append(line).append(" -a ").append(word).append("\n");
    }
    // The options of the program itself are those of every command.
    const std::string options = command.name.empty() ? "complete -c fwagent" : line;
    for (const Option& option : command.options()) {
      text += options;
      for (const std::string& name : namesOf(option)) {
        text += name[1] == '-' ? " -l " + name.substr(2) : " -s " + name.substr(1);
      }
      if (!option.choices().empty()) {
        text += " -x -a '" + joined(option.choices(), " ") + "'";
      } else if (!option.value.empty()) {
        text += " -r";
      }
      text += " -d '" + shellText(option.what) + "'\n";
    }
  }
  return text;
}

}  // namespace Agent
