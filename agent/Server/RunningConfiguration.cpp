#include "agent/Server/RunningConfiguration.h"

#include <fmt/core.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <iostream>
#include <utility>

#include "agent/Document/Count.h"
#include "agent/Process/ExitStatus.h"
#include "agent/Store/Reconcile.h"
#include "framework/Kiv/TreeWatcher.h"

namespace Agent {

class RunningConfiguration::WriteCount final : public Kiv::TreeWatcher {
 public:
  using TreeWatcher::TreeWatcher;
  std::uint64_t count() const noexcept { return count_; }

 private:
  void onChange(const Kiv::TreeChange& /*change*/) override { ++count_; }

  std::uint64_t count_ = 0;
};

namespace {

using Milliseconds = std::chrono::duration<double, std::milli>;

Milliseconds since(std::chrono::steady_clock::time_point begin) {
  return std::chrono::steady_clock::now() - begin;
}

void tell(const std::string& text) { std::cerr << "fwagent: " + text + "\n" << std::flush; }

}  // namespace

RunningConfiguration::RunningConfiguration(std::vector<std::string> files,
                                           const CommonOptions& options)
    : files_(std::move(files)), options_(options) {}

RunningConfiguration::~RunningConfiguration() { store_.stop(); }

int RunningConfiguration::begin() {
  int status = done;
  Timing timing(options_);
  const auto document = loadChecked(files_, options_, timing, status);
  if (!document) return status;
  apply(planOf(store_, document->root), store_);
  timing.step("publish");
  store_.start();
  timing.step("compile");
  writes_ = std::make_unique<WriteCount>(store_.hwConfig);
  return done;
}

std::uint64_t RunningConfiguration::writes() const noexcept { return writes_->count(); }

// What is too large for the memory that there is, is refused like what is wrong.
std::optional<Document> RunningConfiguration::candidate(Timing& timing) const {
  try {
    int status = done;
    return loadChecked(files_, options_, timing, status);
  } catch (const std::exception& error) {
    tell(std::string("the candidate cannot be read: ") + error.what());
    return std::nullopt;
  }
}

void RunningConfiguration::commit() {
  const auto begin = std::chrono::steady_clock::now();
  Timing timing(options_);
  const auto document = candidate(timing);
  if (!document) {
    ++figures_.refusals;
    tell("refused; the running configuration stays");
    return;
  }
  const Plan plan = planOf(store_, document->root);
  timing.step("compare");
  const std::uint64_t before = writes();
  const auto applied = std::chrono::steady_clock::now();
  apply(plan, store_);
  figures_.lastReactorMilliseconds = since(applied).count();
  timing.step("commit");
  ++figures_.commits;
  figures_.lastMilliseconds = since(begin).count();
  figures_.longestMilliseconds = std::max(figures_.longestMilliseconds, figures_.lastMilliseconds);
  tell(fmt::format("committed: {}, {} to the hardware, {:.2f} ms in the reactors, {:.1f} ms in all",
                   counted(plan.size(), "change"), counted(writes() - before, "write"),
                   figures_.lastReactorMilliseconds, figures_.lastMilliseconds));
}

}  // namespace Agent
