// Shows trace files of the flight recorder (framework/Fleetlog) as text.
#include <getopt.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "framework/Fleetlog/Decode.h"
#include "framework/Pith/Printable.h"
#include "framework/Pith/TraceFacility.h"

namespace {

constexpr const char* help =
    "usage: fleetlog [--level N] [--module M] FILE\n"
    "\n"
    "Writes the messages of a trace file to standard output, oldest first, one a line:\n"
    "time (UTC), level, module and line, [function], text.\n"
    "The file may be in use. Control characters are written as \\xNN.\n"
    "\n"
    "  -l, --level N    only messages of level N (0 to 9) and below\n"
    "  -m, --module M   only messages of module M; M* for all that begin with M\n"
    "  -h, --help       this text\n"
    "  -V, --version    the version of trace files that is read\n"
    "\n"
    "Exit status: 0 all was read; 1 the file is damaged, and all that can be read of it was\n"
    "written; 2 wrong usage; 3 the file cannot be read or the output cannot be written.\n";

enum ExitStatus { allRead = 0, damaged = 1, wrongUsage = 2, inputOutput = 3 };

struct Options {
  int level = Pith::traceLevelMax;
  std::string_view module = "*";
  const char* file = nullptr;
};

[[noreturn]] void refuse(const std::string& why) {
  std::fprintf(stderr, "fleetlog: %s\nTry 'fleetlog --help'.\n", why.c_str());
  std::exit(wrongUsage);
}

int levelOf(std::string_view text) {
  if (text.size() != 1 || text[0] < '0' || text[0] > '9') {
    refuse("level '" + std::string(text) + "' is not one of 0 to 9");
  }
  return text[0] - '0';
}

// Ends the process where the options say so.
Options optionsOf(int count, char** arguments) {
  static constexpr std::array<option, 5> known{{{"level", required_argument, nullptr, 'l'},
                                                {"module", required_argument, nullptr, 'm'},
                                                {"help", no_argument, nullptr, 'h'},
                                                {"version", no_argument, nullptr, 'V'},
                                                {nullptr, 0, nullptr, 0}}};
  Options options;
  int letter = 0;
  while ((letter = getopt_long(count, arguments, "l:m:hV", known.data(), nullptr)) != -1) {
    switch (letter) {
      case 'l':
        options.level = levelOf(optarg);
        break;
      case 'm':
        options.module = optarg;
        break;
      case 'h':
        std::fputs(help, stdout);
        std::exit(allRead);
      case 'V':
        std::puts("fleetlog, for trace files of version 1");
        std::exit(allRead);
      default:  // getopt_long has said what is wrong
        std::fputs("Try 'fleetlog --help'.\n", stderr);
        std::exit(wrongUsage);
    }
  }
  if (optind + 1 != count) refuse("one FILE is wanted");
  options.file = arguments[optind];
  return options;
}

bool isWanted(std::string_view module, std::string_view wanted) {
  if (!wanted.ends_with('*')) return module == wanted;
  return module.starts_with(wanted.substr(0, wanted.size() - 1));
}

// "2026-01-31T23:59:59.123Z"; the clock of the messages moves in milliseconds.
void appendTime(std::string& out, std::int64_t nanoseconds) {
  using std::chrono::floor, std::chrono::seconds, std::chrono::milliseconds;
  const auto whole = floor<milliseconds>(std::chrono::nanoseconds(nanoseconds));
  const std::time_t time = floor<seconds>(whole).count();
  std::tm parts{};
  gmtime_r(&time, &parts);
  std::array<char, 64> text{};
  out.append(text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S.", &parts));
  const std::string fraction = std::to_string((whole - floor<seconds>(whole)).count());
  out.append(3 - fraction.size(), '0').append(fraction).push_back('Z');
}

class Printer {
 public:
  explicit Printer(const Options& options) : options_(options) {}

  void operator()(const Fleetlog::Message& message) {
    if (message.level > options_.level || !isWanted(message.module, options_.module)) return;
    line_.clear();
    appendTime(line_, message.time);
    line_.append(" ").append(std::to_string(message.level)).append(" ");
    Pith::appendPrintable(line_, message.module);
    if (message.line != 0) line_.append(":").append(std::to_string(message.line));
    line_.append(" [");
    Pith::appendPrintable(line_, message.shortName);
    line_.append("] ");
    Pith::appendPrintable(line_, message.text);
    line_.push_back('\n');
    std::fwrite(line_.data(), 1, line_.size(), stdout);
  }

 private:
  const Options& options_;
  std::string line_;
};

void reportFaults(const char* file, const Fleetlog::Decoded& result) {
  for (const Fleetlog::Fault& fault : result.faults) {
    std::fprintf(stderr, "fleetlog: %s: byte %zu: %s\n", file, fault.at, fault.text.c_str());
  }
  if (const std::uint64_t more = result.faultCount - result.faults.size(); more > 0) {
    std::fprintf(stderr, "fleetlog: %s: further faults: %llu\n", file,
                 static_cast<unsigned long long>(more));
  }
  if (result.lost > 0) {
    std::fprintf(stderr, "fleetlog: %s: messages that were not recorded: %llu\n", file,
                 static_cast<unsigned long long>(result.lost));
  }
}

int show(const Options& options) {
  const std::vector<std::byte> bytes = Fleetlog::readTraceFile(options.file);
  const Fleetlog::Decoded result = Fleetlog::decode(bytes, Printer(options));
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    std::fputs("fleetlog: the output cannot be written\n", stderr);
    return inputOutput;
  }
  reportFaults(options.file, result);
  return result.faultCount == 0 ? allRead : damaged;
}

}  // namespace

int main(int count, char** arguments) {
  try {
    return show(optionsOf(count, arguments));
  } catch (const std::system_error& error) {
    std::fprintf(stderr, "fleetlog: %s\n", error.what());
    return inputOutput;
  }
}
