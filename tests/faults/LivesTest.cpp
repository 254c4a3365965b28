// Memory that runs out here and there in random lives. After each time the change is made again and
// the root is made anew: then the output is that of the plain model.
//
// FIREWALL_LIVES says how many, FIREWALL_LIVES_SEED the seed of the first. A failure prints the
// shortest history that still shows it; "!37 " before a change says after how many allocations one
// fails.
#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <new>
#include <optional>
#include <random>

#include "framework/Pith/RangeException.h"
#include "tests/framework/Kiv/FailingNew.h"
#include "tests/plain/Generator.h"
#include "tests/plain/Life.h"
#include "tests/support/LiveCounts.h"

namespace {

using Plain::Change;
using Plain::History;

class LifeWithFaults {
 public:
  static inline std::size_t failures = 0;  // of all lives

  std::string after(const std::string& line) {
    if (line[0] != '!') return apply(Change(line), {});
    const std::size_t blank = line.find(' ');
    const Change change(line.substr(blank + 1));
    std::string complaint = apply(change, std::stoul(line.substr(1, blank)));
    if (complaint.empty() && hasFailed_) complaint = remade();
    return complaint;
  }

  std::string end() {
    model_.stop();
    real_.stop();
    return real_.broken();
  }

 private:
  // To both, with one allocation that fails where `successes` is given.
  std::string apply(const Change& change, std::optional<std::size_t> successes) {
    hasFailed_ = false;
    bool refused = false;
    try {
      if (!inputs_.apply(change)) return "";
    } catch (const Plain::Refused&) {
      refused = true;
    }
    if (successes) {
      const FailingNew::Scope scope(*successes, 1);
      try {
        real_.apply(change);
      } catch (const std::bad_alloc&) {
      } catch (const Pith::RangeException&) {
      }
      hasFailed_ = FailingNew::Scope::failed() > 0;
      failures += FailingNew::Scope::failed();
    }
    if (const std::string broken = real_.broken(); !broken.empty()) return broken;
    bool refusedByReal = false;
    try {
      real_.apply(change);
    } catch (const Pith::RangeException&) {
      refusedByReal = true;
    }
    // What was refused before and is there already need not be refused again.
    if (!successes && refused != refusedByReal) return "only one of them refuses it";
    return real_.broken();
  }

  std::string remade() {
    if (!model_.started()) return "";
    for (const char* line : {"stop", "start"}) {
      if (std::string complaint = apply(Change(line), {}); !complaint.empty()) return complaint;
    }
    return real_.dump() == model_.hw->dump() ? "" : "the trees differ";
  }

  Plain::Model model_;
  Plain::ModelInputs inputs_ = Plain::ModelInputs(model_);
  Plain::RealSwitch real_ = Plain::RealSwitch(Plain::RealSwitch::Watched::no);
  bool hasFailed_ = false;
};

std::string faultWithin(const History& history) {
  LifeWithFaults life;
  for (const std::string& line : history) {
    if (std::string complaint = life.after(line); !complaint.empty())
      return "after " + line + "\n" + complaint;
  }
  return life.end();
}

std::string faultIn(const History& history) {
  const auto before = TestSupport::liveCounts();
  std::string fault = faultWithin(history);
  if (fault.empty() && TestSupport::liveCounts() != before) fault = "objects are left";
  return fault;
}

std::uint64_t numberFrom(const char* variable, std::uint64_t otherwise) {
  const char* const text = std::getenv(variable);
  return text == nullptr ? otherwise : std::stoull(text);
}

TEST(LivesWithFaults, OutputIsRightWhenTheRootIsMadeAnew) {
  const std::uint64_t lives = numberFrom("FIREWALL_LIVES", 10);
  const std::uint64_t first = numberFrom("FIREWALL_LIVES_SEED", std::random_device()());
  std::cout << lives << " lives from FIREWALL_LIVES_SEED=" << first << std::endl;
  for (std::uint64_t seed = first; seed < first + lives; ++seed) {
    Plain::Generator generator(seed);
    std::mt19937_64 random(seed);
    History history = generator.beginning();
    while (history.size() < 600) {
      for (const std::string& line : generator.changes()) {
        const auto successes = random() % (1U << random() % 10U);  // most changes need a few
        history.push_back(random() % 3 == 0 ? "!" + std::to_string(successes) + " " + line : line);
      }
    }
    if (faultIn(history).empty()) continue;
    history = Plain::shrunk(history, [](const History& h) { return !faultIn(h).empty(); });
    FAIL() << "seed " << seed << "\n" << Plain::asTest(history) << faultIn(history);
  }
  std::cout << LifeWithFaults::failures << " allocations failed\n";
  EXPECT_GT(LifeWithFaults::failures, lives);
}

}  // namespace
