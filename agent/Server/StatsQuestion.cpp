#include <fmt/core.h>

#include <sstream>

#include "agent/Document/Count.h"
#include "agent/Process/ExitStatus.h"
#include "agent/Server/Questions.h"
#include "agent/View/Table.h"
#include "framework/Kiv/AllocTrack.h"

namespace Agent {
namespace {

Answer stats(RunningConfiguration& running, const Words& /*words*/) {
  std::ostringstream text;
  Table table({"TYPE", "LIVE", "EVER", "BYTES"}, TextStyle{.all = true});
  std::uint64_t bytes = 0;
  Kiv::AllocTrackTypeInfo::each([&](const Kiv::AllocTrackTypeInfo& type) {
    bytes += type.bytes();
    table.row(
        {{type.name()}, {grouped(type.live())}, {grouped(type.total())}, {grouped(type.bytes())}});
  });
  table.print(text, "");
  const RunningConfiguration::Figures& figures = running.figures();
  text << grouped(bytes) << " bytes in objects\n"
       << counted(running.writes(), "notification") << " of the hardware agent\n"
       << counted(figures.commits, "commit") << ", " << grouped(figures.refusals) << " refused\n"
       << fmt::format("last commit {:.1f} ms, {:.2f} ms of it in the reactors; longest {:.1f} ms\n",
                      figures.lastMilliseconds, figures.lastReactorMilliseconds,
                      figures.longestMilliseconds);
  return {done, text.str()};
}

}  // namespace

Question statsQuestion() {
  return {.name = "show stats", .summary = {}, .example = {}, .answer = stats};
}

}  // namespace Agent
