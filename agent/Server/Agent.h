// The running agent: the store with its reactors, commits of candidates, and answers to questions.
//
//   RunningAgent agent(files, options);
//   if (const int status = agent.begin(); status != done) return status;
//   agent.commit();                                  // the files again
//   agent.answer({"show", "stats"}).text
//
// A candidate that has errors is refused whole, and what runs stays.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "agent/Process/Common.h"
#include "agent/Server/Socket.h"
#include "agent/Store/Store.h"
#include "framework/Kiv/TreeWatcher.h"

namespace Agent {

class RunningAgent {
 public:
  RunningAgent(std::vector<std::string> files, const CommonOptions& options);
  ~RunningAgent();

  // Reads the files and starts the reactors; the status to exit with when they are refused.
  int begin();
  void commit();
  Answer answer(const Words& words);

 private:
  // Counts the writes that a hardware agent would see.
  class WriteCount;

  std::optional<Document> candidate(Timing& timing) const;
  Answer show(const std::string& path) const;
  Answer stats() const;
  Answer verification() const;
  Answer synchronise();
  Answer traceLevel(const Words& words) const;

  std::vector<std::string> files_;
  CommonOptions options_;
  Store store_;
  std::unique_ptr<WriteCount> writes_;
  std::uint64_t commits_ = 0;
  std::uint64_t refusals_ = 0;
  double lastMilliseconds_ = 0;
  double longestMilliseconds_ = 0;
  double lastReactorMilliseconds_ = 0;
};

}  // namespace Agent
