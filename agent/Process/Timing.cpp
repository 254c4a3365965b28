#include "agent/Process/Timing.h"

#include <fmt/core.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>

namespace Agent {

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

}  // namespace Agent
