// The configuration that runs: the store with its reactors, and commits of candidates onto it.
//
//   RunningConfiguration running(files, options);
//   if (const int status = running.begin(); status != done) return status;
//   running.commit();                                // the files again
//   running.store().hwConfig->vrf(...)
//
// A candidate that has errors is refused whole, and what runs stays. What it is asked over the
// socket is the matter of Questions.h.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "agent/Process/Candidate.h"
#include "agent/Process/CommonOptions.h"
#include "agent/Process/Timing.h"
#include "agent/Store/Store.h"

namespace Agent {

class RunningConfiguration {
 public:
  struct Figures {
    std::uint64_t commits = 0;
    std::uint64_t refusals = 0;
    double lastMilliseconds = 0;  // of a commit
    double longestMilliseconds = 0;
    double lastReactorMilliseconds = 0;
  };

  RunningConfiguration(std::vector<std::string> files, const CommonOptions& options);
  RunningConfiguration(const RunningConfiguration&) = delete;
  RunningConfiguration& operator=(const RunningConfiguration&) = delete;
  ~RunningConfiguration();

  // Reads the files and starts the reactors; the status to exit with when they are refused.
  int begin();
  void commit();

  Store& store() noexcept { return store_; }
  const Figures& figures() const noexcept { return figures_; }
  // That the hardware has seen since the beginning.
  std::uint64_t writes() const noexcept;

 private:
  // Counts the writes that the hardware sees.
  class WriteCount;

  std::optional<Document> candidate(Timing& timing) const;

  std::vector<std::string> files_;
  CommonOptions options_;
  Store store_;
  std::unique_ptr<WriteCount> writes_;
  Figures figures_;
};

}  // namespace Agent
