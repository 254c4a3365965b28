#include "agent/Process/Traces.h"

#include <memory>
#include <system_error>

#include "agent/Process/ExitStatus.h"
#include "agent/Process/Output.h"
#include "framework/Fleetlog/Fleetlog.h"
#include "framework/Fleetlog/TraceFile.h"
#include "framework/Kiv/TraceHelper.h"
#include "framework/Pith/RangeException.h"
#include "framework/Pith/TraceFacility.h"

namespace Agent {

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
