// What every command has: its options, its exit statuses, how it loads and how it tells.
#pragma once

#include <chrono>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/Document/Diagnostics.h"
#include "agent/Document/Load.h"
#include "agent/View/Table.h"

namespace Agent {

enum ExitStatus {
  done = 0,
  answerIsNo = 1,   // --exit-code, --expect, --strict
  refused = 2,      // wrong usage or a refused configuration
  unreachable = 3,  // a file that cannot be read or written, or no agent
};

struct CommonOptions {
  bool quiet = false;   // no warnings, no summaries
  bool timing = false;  // how long each step took, to standard error
  bool strict = false;  // warnings are failures
  bool all = false;     // do not cut long lists
  std::string color = "auto";
  std::size_t maxErrors = 50;
  std::size_t maxExpansion = 10000;  // hardware rules of one rule before a warning
  std::string flightRecorder;
  std::vector<std::string> logs;  // FACILITY/LEVEL
  std::string socket;             // of the running agent
};

// Whether to colour what goes to the stream (1 or 2): --color, then NO_COLOR, then a terminal.
bool isColored(const CommonOptions& options, int stream);
TextStyle textStyle(const CommonOptions& options);
Diagnostics::Style messageStyle(const CommonOptions& options);

// Steps and how long they took, on standard error with --timing.
// For whoever waits at a terminal for more than a second, the steps that are done are told as well.
class Timing {
 public:
  using Clock = std::chrono::steady_clock;

  explicit Timing(const CommonOptions& options);
  // With a clock and a terminal of one's own; null: none.
  Timing(bool isShown, std::ostream* terminal, Clock::time_point (*now)());
  Timing(const Timing&) = delete;
  Timing& operator=(const Timing&) = delete;
  ~Timing();  // prints them

  // The step that has just ended.
  void step(std::string name);
  std::chrono::duration<double, std::milli> last() const;

 private:
  bool isShown_;
  std::ostream* terminal_;
  Clock::time_point (*now_)();
  Clock::time_point start_;
  Clock::time_point begin_;
  std::vector<std::pair<std::string, std::chrono::duration<double, std::milli>>> steps_;
};

// Reads and checks; tells on standard error. None, with the status to exit with, when the
// configuration is refused; with `strict`, warnings refuse it with answerIsNo.
std::optional<Document> loadChecked(const std::vector<std::string>& files,
                                    const CommonOptions& options, Timing& timing, int& status);
// The same into `diagnostics`, telling nothing.
Document loadInto(const std::vector<std::string>& files, const CommonOptions& options,
                  Timing& timing, Diagnostics& diagnostics);

// "fwagent: text" on standard error; returns the status.
int fail(int status, std::string_view text);
// To the file, or to standard output where the name is empty or "-". Returns the status.
int writeOutput(const std::string& text, const std::string& file);

// Traces as the options ask for them, until the end of the process. The status, done when all is
// well.
int startTraces(const CommonOptions& options);
// "FACILITY/LEVEL"; the last "/" divides.
std::optional<std::pair<std::string, int>> traceLevelOf(std::string_view text);

}  // namespace Agent
