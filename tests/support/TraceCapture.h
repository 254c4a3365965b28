// The levelled traces of a scope, for tests.
//
//   TestSupport::TraceCapture traces(8);                     // all facilities, up to level 8
//   sm->handlePolicy("web");
//   EXPECT_TRUE(traces.saw(8, "handlePolicy", ": web"));
//   EXPECT_THAT(traces.texts(), ElementsAre(": web", "Policy web not found", " return"));
//
// It takes the place of the sink and of all levels, and puts back what was there before.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "framework/Kiv/TraceHelper.h"
#include "framework/Pith/TraceFacility.h"

namespace TestSupport {

// The facility of the reactors.
constexpr const char* module = "Firewall/FirewallConfigSm";

struct TraceRecord {
  std::string facility;
  int level = 0;
  std::string function;
  std::string text;

  bool operator==(const TraceRecord&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const TraceRecord& record) {
  return out << record.facility << ' ' << record.level << " [" << record.function << "] \""
             << record.text << '"';
}

class TraceCapture {
 public:
  explicit TraceCapture(int level = Pith::traceLevelMax, std::string_view facilities = "*")
      : oldSettings_(Pith::TraceControl::settings(Pith::TraceConsumer::helper)),
        oldSink_(Kiv::TraceHelper::sinkIs([this](const Kiv::TraceHelper::Record& record) {
          records_.push_back({std::string(record.facility), record.level,
                              std::string(record.function), std::string(record.text)});
        })) {
    Pith::TraceControl::settingsAre(Pith::TraceConsumer::helper,
                                    {{"*", Pith::traceOff}, {std::string(facilities), level}});
  }
  TraceCapture(const TraceCapture&) = delete;
  TraceCapture& operator=(const TraceCapture&) = delete;
  ~TraceCapture() {
    Pith::TraceControl::settingsAre(Pith::TraceConsumer::helper, std::move(oldSettings_));
    Kiv::TraceHelper::sinkIs(std::move(oldSink_));
  }

  // In the order of tracing.
  const std::vector<TraceRecord>& records() const { return records_; }
  std::vector<std::string> texts() const {
    std::vector<std::string> texts;
    for (const TraceRecord& record : records_) texts.push_back(record.text);
    return texts;
  }
  void clear() { records_.clear(); }

  std::size_t count(int level, std::string_view function, std::string_view text) const {
    return static_cast<std::size_t>(
        std::count_if(records_.begin(), records_.end(), [&](const TraceRecord& record) {
          return record.level == level && record.function == function && record.text == text;
        }));
  }
  // Whether there is such a record, whatever its facility; if not, says what there is.
  testing::AssertionResult saw(int level, std::string_view function, std::string_view text) const {
    if (count(level, function, text) > 0) return testing::AssertionSuccess();
    testing::AssertionResult failure = testing::AssertionFailure();
    failure << "no trace of level " << level << " [" << function << "] \"" << text << "\" among "
            << records_.size() << ":";
    for (const TraceRecord& record : records_) failure << "\n  " << record;
    return failure;
  }

 private:
  std::vector<TraceRecord> records_;
  std::vector<Pith::TraceControl::Setting> oldSettings_;
  Kiv::TraceHelper::Sink oldSink_;
};

}  // namespace TestSupport
