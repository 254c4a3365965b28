// Steps and how long they took, on standard error with --timing.
//
//   Timing timing(options);
//   ...
//   timing.step("publish");          // has just ended
//   timing.last()                    // and took so long
//
// For whoever waits at a terminal for more than a second, the steps that are done are told as well.
#pragma once

#include <chrono>
#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

#include "agent/Process/CommonOptions.h"

namespace Agent {

class Timing {
 public:
  using Clock = std::chrono::steady_clock;

  explicit Timing(const CommonOptions& options);
  // With a clock and a terminal of one's own; null: none.
  Timing(bool isShown, std::ostream* terminal, Clock::time_point (*now)());
  Timing(const Timing&) = delete;
  Timing& operator=(const Timing&) = delete;
  ~Timing();  // prints them

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

}  // namespace Agent
