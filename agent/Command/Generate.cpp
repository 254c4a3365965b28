#include "agent/Command/Generate.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <functional>
#include <sstream>
#include <string_view>
#include <vector>

namespace Agent {
namespace {

struct Option {
  std::vector<std::string> names;  // with their dashes; the one name of a positional
  std::string metavariable;        // empty: a flag
  std::string description;
  std::vector<std::string> choices;  // empty: anything
};

struct CommandText {
  std::string name;  // "explain rule"
  std::string description;
  std::string footer;
  std::vector<Option> options;
  std::vector<Option> positionals;
  std::vector<std::string> subcommands;
};

// The words of "auto|always|never"; none where it is one.
std::vector<std::string> choicesOf(const std::string& text) {
  std::vector<std::string> choices;
  if (text.find('|') == std::string::npos) return choices;
  std::istringstream words(text);
  for (std::string word; std::getline(words, word, '|');) choices.push_back(word);
  return choices;
}

CommandText textOf(const CLI::App& app, const std::string& name) {
  CommandText text{name, app.get_description(), app.get_footer(), {}, {}, {}};
  for (const CLI::Option* const option : app.get_options()) {
    const std::string& shown = option->get_option_text();
    Option one{{},
               shown.empty() ? option->get_type_name() : shown,
               option->get_description(),
               choicesOf(shown)};
    if (option->get_positional()) {
      one.names.push_back(option->get_name(true));
      text.positionals.push_back(std::move(one));
      continue;
    }
    if (option->get_expected_max() == 0) one.metavariable.clear();
    for (const std::string& letter : option->get_snames()) one.names.push_back("-" + letter);
    for (const std::string& word : option->get_lnames()) one.names.push_back("--" + word);
    text.options.push_back(std::move(one));
  }
  for (const CLI::App* const below : app.get_subcommands(nullptr)) {
    text.subcommands.push_back(below->get_name());
  }
  return text;
}

// The program itself, its commands, and theirs.
std::vector<CommandText> commandsOf(const CLI::App& app) {
  std::vector<CommandText> all{textOf(app, "")};
  const std::function<void(const CLI::App&, const std::string&)> add =
      [&](const CLI::App& parent, const std::string& prefix) {
        for (const CLI::App* const below : parent.get_subcommands(nullptr)) {
          const std::string name = prefix + below->get_name();
          all.push_back(textOf(*below, name));
          add(*below, name + " ");
        }
      };
  add(app, "");
  return all;
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
  for (const Option& positional : command.positionals) {
    page += ".TP\n\\fI" + roff(positional.names.front()) + "\\fR\n\\&" +
            roff(positional.description) + "\n";
  }
  for (const Option& option : command.options) {
    const bool isHelp = option.names.back().rfind("--help", 0) == 0;
    if (isHelp && !command.name.empty()) continue;  // it is told once
    page += ".TP\n\\fB" + roff(joined(option.names, ", ")) + "\\fR";
    if (!option.metavariable.empty()) page += " \\fI" + roff(option.metavariable) + "\\fR";
    page += "\n\\&" + roff(option.description) + "\n";
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
    for (const Option& option : command.options) {
      if (option.choices.empty()) continue;
      // The options of the program itself are those of every command.
      const std::string name = command.name.empty() ? "*'" : "'" + command.name;
      text.append("    ").append(name).append(" ").append(option.names.back()).append("') ");
      text.append(begin).append(joined(option.choices, " ")).append(end).append(" ;;\n");
    }
  }
  return text;
}

std::vector<std::string> choicesOfPositionals(const CommandText& command) {
  std::vector<std::string> words;
  for (const Option& positional : command.positionals) {
    words.insert(words.end(), positional.choices.begin(), positional.choices.end());
  }
  return words;
}

std::vector<std::string> optionWords(const CommandText& command) {
  std::vector<std::string> words;
  for (const Option& option : command.options) {
    words.insert(words.end(), option.names.begin(), option.names.end());
  }
  return words;
}

}  // namespace

std::string manPage(const CLI::App& app) {
  const std::vector<CommandText> commands = commandsOf(app);
  std::string page =
      ".TH FWAGENT 1\n.SH NAME\nfwagent \\- host agent of the firewall configuration\n"
      ".SH SYNOPSIS\n.B fwagent\n[\\fIOPTION\\fR...] \\fICOMMAND\\fR ...\n.SH DESCRIPTION\n\\&" +
      roff(app.get_description()) + ".\n.SH OPTIONS\nThese are taken by every command.\n";
  manOptions(page, commands.front());
  page += ".SH COMMANDS\n";
  for (const CommandText& command : commands) {
    if (command.name.empty()) continue;
    page += ".SS fwagent " + roff(command.name);
    for (const Option& each : command.positionals) page += " " + roff(each.names.front());
    page += "\n\\&" + roff(command.description) + "\n";
    manOptions(page, command);
    const std::size_t example = std::min(command.footer.find("Example:"), command.footer.size());
    page += ".PP\n" + roff(command.footer.substr(example)) + "\n";
  }
  return page +
         ".SH EXIT STATUS\n0 done; 1 the answer is no; 2 wrong usage or refused configuration; "
         "3 I/O or no agent.\n.SH SEE ALSO\n.BR fleetlog (1)\n";
}

std::string bashCompletion(const CLI::App& app) {
  const std::vector<CommandText> commands = commandsOf(app);
  std::string text =
      "_fwagent() {\n"
      "  local word=${COMP_WORDS[COMP_CWORD]} command= each\n"
      "  for each in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n"
      "    case \"$command $each\" in\n";
  text += commandCases(commands);
  text += "    esac\n  done\n  local words\n  case \"$command\" in\n";
  const std::string common = joined(optionWords(commands.front()), " ");
  for (const CommandText& command : commands) {
    text += "    '" + command.name + "') words='" + joined(command.subcommands, " ") + " " +
            joined(choicesOfPositionals(command), " ") + " " + joined(optionWords(command), " ") +
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

std::string zshCompletion(const CLI::App& app) {
  const std::vector<CommandText> commands = commandsOf(app);
  std::string text =
      "#compdef fwagent\n"
      "local command= each\n"
      "for each in ${words[2,CURRENT-1]}; do\n"
      "  case \"$command $each\" in\n";
  text += commandCases(commands);
  text += "  esac\ndone\nlocal -a known\ncase \"$command\" in\n";
  for (const CommandText& command : commands) {
    text += "  '" + command.name + "') known=(" + joined(command.subcommands, " ") + " " +
            joined(choicesOfPositionals(command), " ");
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

std::string fishCompletion(const CLI::App& app) {
  std::string text;
  for (const CommandText& command : commandsOf(app)) {
    std::string condition = "__fish_use_subcommand";
    if (!command.name.empty()) {
      const std::size_t blank = command.name.find(' ');
      condition = "__fish_seen_subcommand_from " + command.name.substr(0, blank);
      if (blank != std::string::npos) {
        condition += "; and __fish_seen_subcommand_from " + command.name.substr(blank + 1);
      }
    }
    const std::string line = "complete -c fwagent -n '" + condition + "'";
    for (const std::string& name : command.subcommands) {
      text.append(line).append(" -a ").append(name).append("\n");
    }
    for (const std::string& word : choicesOfPositionals(command)) {
      text.append(line).append(" -a ").append(word).append("\n");
    }
    // The options of the program itself are those of every command.
    const std::string options = command.name.empty() ? "complete -c fwagent" : line;
    for (const Option& option : command.options) {
      text += options;
      for (const std::string& name : option.names) {
        text += name[1] == '-' ? " -l " + name.substr(2) : " -s " + name.substr(1);
      }
      if (!option.choices.empty()) {
        text += " -x -a '" + joined(option.choices, " ") + "'";
      } else if (!option.metavariable.empty()) {
        text += " -r";
      }
      text += " -d '" + shellText(option.description) + "'\n";
    }
  }
  return text;
}

}  // namespace Agent
