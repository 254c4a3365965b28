// Random lives of a switch against the plain model.
//
// FIREWALL_LIVES says how many, FIREWALL_LIVES_SEED the seed of the first; each following life has
// the next seed. A failure prints the shortest history that still shows it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <random>
#include <utility>
#include <vector>

#include "framework/Kiv/TraceHelper.h"
#include "framework/Pith/TraceFacility.h"
#include "tests/plain/Generator.h"
#include "tests/plain/Life.h"

namespace {

using Plain::differenceIn;
using Plain::History;

std::uint64_t numberFrom(const char* variable, std::uint64_t otherwise) {
  const char* const text = std::getenv(variable);
  return text == nullptr ? otherwise : std::stoull(text);
}

// Every trace is made, and dropped.
class AllTraces {
 public:
  AllTraces() {
    Pith::TraceControl::settingsAre(Pith::TraceConsumer::helper, {{"*", Pith::traceLevelMax}});
  }
  AllTraces(const AllTraces&) = delete;
  AllTraces& operator=(const AllTraces&) = delete;
  ~AllTraces() {
    Pith::TraceControl::settingsAre(Pith::TraceConsumer::helper, std::move(oldSettings_));
    Kiv::TraceHelper::sinkIs(std::move(oldSink_));
  }

 private:
  std::vector<Pith::TraceControl::Setting> oldSettings_ =
      Pith::TraceControl::settings(Pith::TraceConsumer::helper);
  Kiv::TraceHelper::Sink oldSink_ =
      Kiv::TraceHelper::sinkIs([](const Kiv::TraceHelper::Record&) {});
};

// Every other life is traced, which changes nothing.
TEST(Lives, LibraryDoesWhatThePlainModelDoes) {
  const std::uint64_t lives = numberFrom("FIREWALL_LIVES", 30);
  const std::uint64_t first = numberFrom("FIREWALL_LIVES_SEED", std::random_device()());
  std::cout << lives << " lives from FIREWALL_LIVES_SEED=" << first << std::endl;
  for (std::uint64_t seed = first; seed < first + lives; ++seed) {
    std::cout << "seed " << seed << std::endl;  // for one that does not come to its end
    std::optional<AllTraces> traces;
    if (seed % 2 == 1) traces.emplace();
    Plain::Generator generator(seed);
    History history = generator.beginning();
    while (history.size() < 600) {
      for (const std::string& line : generator.changes()) history.push_back(line);
    }
    if (differenceIn(history).empty()) continue;
    history = Plain::shrunk(history, [](const History& h) { return !differenceIn(h).empty(); });
    FAIL() << "seed " << seed << (traces ? ", traced" : "") << "\n"
           << Plain::asTest(history) << differenceIn(history);
  }
}

TEST(Shrunk, LeavesTheLinesWithoutWhichThereIsNoDifference) {
  History history;
  for (int i = 0; i < 50; ++i) history.push_back(std::to_string(i));
  const auto differs = [](const History& lines) {
    const auto has = [&lines](const char* line) { return std::ranges::count(lines, line) > 0; };
    return has("3") && has("17") && (has("18") || has("49"));
  };
  EXPECT_EQ(Plain::shrunk(history, differs), History({"3", "17", "18"}));
}

TEST(Lives, ShownAsATestAHistoryCanBePasted) {
  EXPECT_EQ(
      Plain::asTest({"start", "+ source/cli"}),
      "  EXPECT_EQ(differenceIn({\n      \"start\",\n      \"+ source/cli\",\n  }), \"\");\n");
}

}  // namespace
