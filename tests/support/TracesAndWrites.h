// The levelled traces and the recorded writes of a scope in one sequence, for tests of what comes
// first.
//
//   const TestSupport::TracesAndWrites events(sw().recorder);
//   policy->ruleDel(5);
//   EXPECT_TRUE(events.inOrder({"3 [deletePolicyRules] Deleting rule with ruleId=20971521",
//                               "- policy/web/rule/20971521"}));
//
// A trace is its level, its function in brackets, a blank and its text; a write is the line of its
// recorder.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/TraceCapture.h"
#include "tests/support/WriteRecorder.h"

namespace TestSupport {

class TracesAndWrites {
 public:
  explicit TracesAndWrites(WriteRecorder& recorder)
      : recorder_(&recorder), oldListener_(recorder.listenerIs([this](const std::string& write) {
          appendTraces(events_);
          tracesSeen_ = traces_.records().size();
          events_.push_back(write);
        })) {}
  TracesAndWrites(const TracesAndWrites&) = delete;
  TracesAndWrites& operator=(const TracesAndWrites&) = delete;
  ~TracesAndWrites() { recorder_->listenerIs(std::move(oldListener_)); }

  std::vector<std::string> events() const {
    std::vector<std::string> events = events_;
    appendTraces(events);
    return events;
  }

  // Whether each of these is just one event, or begins just one, and they come in this order;
  // others may come in between.
  testing::AssertionResult inOrder(const std::vector<std::string>& beginnings) const {
    const std::vector<std::string> all = events();
    std::size_t last = 0;
    for (const std::string& beginning : beginnings) {
      const bool isWhole = std::find(all.begin(), all.end(), beginning) != all.end();
      const auto isIt = [&](const std::string& event) {
        return isWhole ? event == beginning : event.starts_with(beginning);
      };
      const auto count = std::count_if(all.begin(), all.end(), isIt);
      const auto at =
          static_cast<std::size_t>(std::find_if(all.begin(), all.end(), isIt) - all.begin());
      if (count == 1 && at >= last) {
        last = at;
        continue;
      }
      testing::AssertionResult failure = testing::AssertionFailure();
      failure << '"' << beginning << "\" is or begins " << count << " events"
              << (count == 1 ? ", but too early" : "") << ", of these:";
      for (const std::string& event : all) failure << "\n  " << event;
      return failure;
    }
    return testing::AssertionSuccess();
  }

 private:
  void appendTraces(std::vector<std::string>& events) const {
    for (std::size_t at = tracesSeen_; at < traces_.records().size(); ++at) {
      const TraceRecord& trace = traces_.records()[at];
      events.push_back(std::to_string(trace.level) + " [" + trace.function + "] " + trace.text);
    }
  }

  TraceCapture traces_;
  std::vector<std::string> events_;  // up to the last write
  std::size_t tracesSeen_ = 0;       // how many traces are among them
  WriteRecorder* recorder_;
  WriteRecorder::Listener oldListener_;
};

}  // namespace TestSupport
