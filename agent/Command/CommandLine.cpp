#include "agent/Command/CommandLine.h"

#include <CLI/CLI.hpp>
#include <exception>
#include <functional>
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include "agent/Command/Commands.h"
#include "agent/Command/Generate.h"
#include "agent/View/JsonSchema.h"
#include "framework/Pith/RangeException.h"

namespace Agent {
namespace {

using Run = std::function<int()>;

// Without the words in the help, where the description has them.
CLI::Validator oneOf(const std::vector<std::string>& words) {
  return CLI::Validator(CLI::IsMember(words)).description("");
}

class CommandLine {
 public:
  CommandLine() {
    app_.require_subcommand(1);
    app_.fallthrough();
    app_.set_help_all_flag("--help-all")->description("the help of every command");
    app_.footer(
        "Exit status: 0 done; 1 the answer is no; 2 wrong usage or refused configuration; "
        "3 I/O or no agent.\nExample: fwagent compile examples/campus");
    common();
    check();
    compile();
    diff();
    explain();
    trace();
    runAgent();
    questions();
    generate();
  }

  int run(int count, char** arguments) {
    try {
      app_.parse(count, arguments);
    } catch (const CLI::ParseError& error) {
      const int status = app_.exit(error, std::cout, std::cerr);
      return status == 0 ? done : refused;
    }
    const int traces = startTraces(options_);
    return traces == done ? run_() : traces;
  }

 private:
  void common() {
    app_.add_flag("-q,--quiet", options_.quiet)->description("no warnings and no summaries");
    app_.add_flag("--strict", options_.strict)->description("warnings are failures: status 1");
    app_.add_flag("--timing", options_.timing)
        ->description("how long each step took, on standard error");
    app_.add_option("--max-errors", options_.maxErrors)
        ->description("how many errors are shown, and how many warnings; 0 for all")
        ->check(CLI::Validator(CLI::NonNegativeNumber).description(""))
        ->type_name("NUMBER")
        ->capture_default_str();
    app_.add_option("--max-expansion", options_.maxExpansion)
        ->description("hardware rules that one rule may become without a warning")
        ->check(CLI::Validator(CLI::NonNegativeNumber).description(""))
        ->type_name("NUMBER")
        ->capture_default_str();
    app_.add_option("--color", options_.color)
        ->description("auto: on a terminal, unless NO_COLOR is set")
        ->check(oneOf({"auto", "always", "never"}))
        ->option_text("auto|always|never")
        ->capture_default_str();
    app_.add_option("--flight-recorder", options_.flightRecorder)
        ->description("trace into this file, which fleetlog reads")
        ->type_name("FILE");
    app_.add_option("--log", options_.logs)
        ->description("trace FACILITY up to LEVEL (0 to 9) on standard error; may be repeated")
        ->type_name("FACILITY/LEVEL")
        ->allow_extra_args(false);
  }

  CLI::App* command(const std::string& name, const std::string& what, const std::string& example,
                    Run run) {
    CLI::App* const command = app_.add_subcommand(name, what);
    footer(command, example);
    command->callback([this, run = std::move(run)] { run_ = run; });
    return command;
  }

  static void footer(CLI::App* command, const std::string& example) {
    command->footer("fwagent --help has the options of every command.\nExample: fwagent " +
                    example);
  }

  void filesOf(CLI::App* command) {
    command->add_option("FILE", files_)
        ->description(
            "configuration: .json, YAML, \"-\" for YAML from standard input, or a "
            "directory of them")
        ->type_name("")
        ->required();
  }

  void formatOf(CLI::App* command, const std::map<std::string, Format>& formats) {
    command->add_option("--format", format_)
        ->description("of the output")
        ->transform(CLI::CheckedTransformer(formats).description(""))
        ->option_text("text|json" + std::string(formats.count("yaml") != 0 ? "|yaml" : ""));
  }

  void check() {
    filesOf(command("check", "errors and warnings of a configuration; touches nothing",
                    "check examples/campus", [this] { return checkCommand(options_, files_); }));
  }

  void compile() {
    CLI::App* const compile = command(
        "compile", "the tables that the hardware gets", "compile --format json examples/campus",
        [this] { return compileCommand(options_, files_, format_, output_); });
    filesOf(compile);
    formatOf(compile, {{"text", Format::text}, {"json", Format::json}, {"yaml", Format::yaml}});
    compile->add_option("-o,--output", output_)
        ->description("where to; standard output otherwise")
        ->type_name("FILE");
    compile->add_flag("--all", options_.all)->description("do not cut long lists");
  }

  void diff() {
    CLI::App* const diff =
        command("diff", "every write that the hardware agent sees when OLD becomes NEW",
                "diff examples/campus/switch.yaml examples/campus",
                [this] { return diffCommand(options_, before_, after_, format_, exitCode_); });
    diff->add_option("OLD", before_)->description("a file or directory")->type_name("")->required();
    diff->add_option("NEW", after_)->description("a file or directory")->type_name("")->required();
    formatOf(diff, {{"text", Format::text}, {"json", Format::json}});
    diff->add_flag("--exit-code", exitCode_)->description("status 1 when anything changed");
  }

  void configurationOf(CLI::App* command) {
    command->add_option("-f,--file", files_)
        ->description("configuration, as for compile; may be repeated")
        ->type_name("FILE")
        ->allow_extra_args(false)
        ->required();
  }

  void explain() {
    CLI::App* const explain =
        app_.add_subcommand("explain", "where something comes from and what became of it");
    footer(explain, "explain -f examples/campus rule to-servers 10");
    explain->require_subcommand(1);
    configurationOf(explain);
    const auto one = [this, explain](const std::string& name, const std::string& what,
                                     Explained kind, const std::string& in, const std::string& inIs,
                                     const std::string& which, const std::string& whichIs,
                                     const std::string& example) {
      CLI::App* const command = explain->add_subcommand(name, what);
      footer(command, "explain -f examples/campus " + example);
      command->add_option(in, in_)->description(inIs)->type_name("")->required();
      command->add_option(which, which_)->description(whichIs)->type_name("")->required();
      command->callback([this, kind] {
        run_ = [this, kind] { return explainCommand(options_, files_, kind, in_, which_); };
      });
    };
    one("rule", "a policy's rule to its hardware rules", Explained::rule, "POLICY",
        "the policy's name", "SEQ", "the rule's sequence number", "rule to-servers 10");
    one("hw", "a hardware rule to its configuration", Explained::hardwareRule, "POLICY",
        "the policy's name", "RULEID", "the identifier, as compile shows it",
        "hw to-servers 41943041");
    one("prefix", "who owns a prefix, and why", Explained::prefix, "VRF", "the VRF's name",
        "PREFIX", "address/length", "prefix default 10.20.5.0/24");
    one("segment", "a segment's links", Explained::segment, "VRF",
        "the VRF's name; \"l2\" for the L2 directory", "NAME", "the segment's name",
        "segment default servers");
  }

  void trace() {
    CLI::App* const trace =
        command("trace", "what the compiled tables do with a packet",
                "trace -f examples/campus --expect permit 10.10.1.2 10.100.0.5 tcp 40000 443",
                [this] { return traceCommand(options_, files_, packet_); });
    configurationOf(trace);
    trace->add_option("--vrf", packet_.vrf)
        ->description("of both ends")
        ->type_name("VRF")
        ->capture_default_str();
    trace->add_option("--in", packet_.in)
        ->description("where the packet comes in")
        ->type_name("INTF[:VLAN]");
    trace->add_option("--expect", packet_.expect)
        ->description("status 1 when it is the other")
        ->check(oneOf({"permit", "drop"}))
        ->option_text("permit|drop");
    const auto part = [trace](const std::string& name, std::string& text, const std::string& what) {
      return trace->add_option(name, text)->description(what)->type_name("");
    };
    part("SRC", packet_.source, "an address")->required();
    part("DST", packet_.destination, "an address of the same family")->required();
    part("PROTO", packet_.protocol, "a name such as tcp, or a number")->required();
    part("SPORT", packet_.sourcePort, "of TCP and UDP");
    part("DPORT", packet_.destinationPort, "of TCP and UDP");
  }

  void runAgent() {
    CLI::App* const run = command(
        "run", "stays up: commits the files again at SIGHUP, ends at SIGTERM",
        "run --watch examples/campus", [this] { return runCommand(options_, files_, watch_); });
    filesOf(run);
    run->add_flag("--watch", watch_)->description("commit whenever a file changes");
    socketOf(run);
  }

  void socketOf(CLI::App* command) {
    command->add_option("--socket", options_.socket)
        ->description("of the agent; else fwagent.sock in $XDG_RUNTIME_DIR, or in /tmp by user")
        ->type_name("PATH");
  }

  CLI::App* question(const std::string& name, const std::string& what, const std::string& example) {
    CLI::App* const question = command(name, what, example, [this, name] {
      words_.insert(words_.begin(), name);
      return askCommand(options_, words_);
    });
    socketOf(question);
    return question;
  }

  void questions() {
    question("show", "any object of the running agent's store, or its stats",
             "show hwConfig/policy/to-servers")
        ->add_option("PATH", words_)
        ->description("of an object or a value, or \"stats\"; else what there is")
        ->type_name("")
        ->expected(0, 1);
    question("verify", "whether the running output is what its configuration makes from nothing",
             "verify");
    question("resync", "makes the running output so, by disabling and enabling the sources",
             "resync");
    CLI::App* const level =
        question("trace-level", "how much of a facility the running agent traces",
                 "trace-level 'Firewall/*' 5");
    level->add_option("FACILITY LEVEL", words_)
        ->description("a facility, or its beginning and *; a level of 0 to 9, or -1 for none")
        ->expected(2)
        ->required();
  }

  void generate() {
    CLI::App* const generate =
        command("generate", "writes the man page, a shell's completion or the schema for editors",
                "generate schema", [this] {
                  const std::map<std::string, std::function<std::string()>> made{
                      {"man", [this] { return manPage(app_); }},
                      {"bash", [this] { return bashCompletion(app_); }},
                      {"zsh", [this] { return zshCompletion(app_); }},
                      {"fish", [this] { return fishCompletion(app_); }},
                      {"schema", jsonSchema}};
                  return writeOutput(made.at(which_)(), output_);
                });
    generate->add_option("WHAT", which_)
        ->description("the man page, a shell's completion, or the schema")
        ->check(oneOf({"man", "bash", "zsh", "fish", "schema"}))
        ->option_text("man|bash|zsh|fish|schema")
        ->required();
    generate->add_option("-o,--output", output_)
        ->description("where to; standard output otherwise")
        ->type_name("FILE");
  }

  CLI::App app_{
      "fwagent reads a switch's firewall configuration, compiles it, and shows what "
      "reaches the hardware",
      "fwagent"};
  CommonOptions options_;
  Files files_;
  Format format_ = Format::text;
  std::string output_;
  std::string before_;
  std::string after_;
  bool exitCode_ = false;
  std::string in_;
  std::string which_;
  TracedPacket packet_;
  bool watch_ = false;
  std::vector<std::string> words_;
  Run run_;
};

}  // namespace

int runCommandLine(int count, char** arguments) {
  try {
    return CommandLine().run(count, arguments);
  } catch (const std::exception& error) {
    return fail(unreachable, error.what());
  }
}

}  // namespace Agent
