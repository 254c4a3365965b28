#include "agent/Process/Common.h"

#include <fmt/core.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <memory>
#include <system_error>

#include "agent/Schema/Check.h"
#include "agent/Schema/Warnings.h"
#include "framework/Fleetlog/Fleetlog.h"
#include "framework/Fleetlog/TraceFile.h"
#include "framework/Kiv/TraceHelper.h"
#include "framework/Pith/RangeException.h"
#include "framework/Pith/TraceFacility.h"

namespace Agent {

bool isColored(const CommonOptions& options, int stream) {
  if (options.color != "auto") return options.color == "always";
  const char* const noColor = std::getenv("NO_COLOR");  // no-color.org
  if (noColor != nullptr && *noColor != '\0') return false;
  return isatty(stream) == 1;
}

TextStyle textStyle(const CommonOptions& options) {
  TextStyle style;
  style.all = options.all;
  style.color = isColored(options, STDOUT_FILENO);
  winsize size{};
  const char* const columns = std::getenv("COLUMNS");
  const int given = columns == nullptr ? 0 : std::atoi(columns);
  if (given > 0) {
    style.width = static_cast<std::size_t>(given);
  } else if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
    style.width = size.ws_col;
  }
  style.width = std::max<std::size_t>(style.width, 40);
  return style;
}

Diagnostics::Style messageStyle(const CommonOptions& options) {
  Diagnostics::Style style;
  style.maxErrors = options.maxErrors;
  style.color = isColored(options, STDERR_FILENO);
  style.warnings = !options.quiet || options.strict;
  style.summary = !options.quiet;
  return style;
}

Timing::Timing(const CommonOptions& options)
    : Timing(options.timing,
             !options.timing && !options.quiet && isatty(STDERR_FILENO) == 1 ? &std::cerr : nullptr,
             &Clock::now) {}

Timing::Timing(bool isShown, std::ostream* terminal, Clock::time_point (*now)())
    : isShown_(isShown), terminal_(terminal), now_(now), start_(now()), begin_(start_) {}

Timing::~Timing() {
  if (!isShown_) return;
  double sum = 0;
  for (const auto& [name, took] : steps_) {
    fmt::print(stderr, "{:>10.1f} ms  {}\n", took.count(), name);
    sum += took.count();
  }
  fmt::print(stderr, "{:>10.1f} ms  in all\n", sum);
}

void Timing::step(std::string name) {
  const Clock::time_point now = now_();
  steps_.emplace_back(std::move(name), now - begin_);
  if (terminal_ != nullptr && now - start_ > std::chrono::seconds(1)) {
    *terminal_ << fmt::format("fwagent: {}: {:.1f} s\n", steps_.back().first, last().count() / 1000)
               << std::flush;
  }
  begin_ = now_();
}

std::chrono::duration<double, std::milli> Timing::last() const { return steps_.back().second; }

Document loadInto(const std::vector<std::string>& files, const CommonOptions& options,
                  Timing& timing, Diagnostics& diagnostics) {
  Document document = load(files, diagnostics);
  timing.step("read");
  check(document, diagnostics);
  timing.step("check");
  if (diagnostics.errors() == 0) {
    warn(document.root, {options.maxExpansion}, diagnostics);
    timing.step("look for what will not reach the hardware");
  }
  return document;
}

std::optional<Document> loadChecked(const std::vector<std::string>& files,
                                    const CommonOptions& options, Timing& timing, int& status) {
  Diagnostics diagnostics;
  Document document = loadInto(files, options, timing, diagnostics);
  diagnostics.print(std::cerr, messageStyle(options));
  status = done;
  if (diagnostics.errors() != 0) status = diagnostics.isUnreadable() ? unreachable : refused;
  if (status == done && options.strict && diagnostics.warnings() != 0) status = answerIsNo;
  if (status != done) return std::nullopt;
  return document;
}

int fail(int status, std::string_view text) {
  std::cerr << "fwagent: " << text << '\n';
  return status;
}

int writeOutput(const std::string& text, const std::string& file) {
  if (file.empty() || file == "-") {
    std::cout << text << std::flush;
    return std::cout ? done : fail(unreachable, "standard output cannot be written");
  }
  std::ofstream out(file, std::ios::binary);
  out << text << std::flush;
  return out ? done : fail(unreachable, file + ": cannot be written");
}

std::optional<std::pair<std::string, int>> traceLevelOf(std::string_view text) {
  const std::size_t slash = text.rfind('/');
  if (slash == std::string_view::npos || slash == 0) return std::nullopt;
  const std::string_view level = text.substr(slash + 1);
  if (level == "-1") return std::pair(std::string(text.substr(0, slash)), -1);
  if (level.size() != 1 || level[0] < '0' || level[0] > '9') return std::nullopt;
  return std::pair(std::string(text.substr(0, slash)), level[0] - '0');
}

int startTraces(const CommonOptions& options) {
  for (const std::string& log : options.logs) {
    const auto setting = traceLevelOf(log);
    if (!setting) {
      return fail(refused, "--log " + log +
                               ": FACILITY/LEVEL is wanted, a level of 0 to 9, such "
                               "as 'Firewall/*/5'");
    }
    try {
      Kiv::TraceHelper::levelIs(setting->first, setting->second);
    } catch (const Pith::RangeException& error) {
      return fail(refused, "--log " + log + ": " + error.what());
    }
  }
  if (!options.logs.empty()) Kiv::TraceHelper::sinkIs(Kiv::TraceHelper::standardErrorSink());
  if (options.flightRecorder.empty()) return done;
  static std::unique_ptr<Fleetlog::TraceFile> recorder;
  try {
    recorder = std::make_unique<Fleetlog::TraceFile>(options.flightRecorder);
    Fleetlog::traceFileIs(recorder.get());
  } catch (const std::system_error& error) {
    return fail(unreachable, options.flightRecorder + ": " + error.what());
  }
  return done;
}

}  // namespace Agent
