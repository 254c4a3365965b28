#include "framework/Kiv/TraceHelper.h"

#include <cstdio>
#include <memory>
#include <string>
#include <utility>

#include "framework/Pith/Printable.h"

namespace Kiv {
namespace {

struct State {
  std::shared_ptr<TraceHelper::Sink> sink;  // shared with the call that may replace it
  bool writing = false;
};

// Never destroyed: destructors of static objects may trace.
State& state() {
  static auto& state = *new State;
  return state;
}

class WritingScope {
 public:
  explicit WritingScope(bool& writing) noexcept : writing_(writing) { writing_ = true; }
  WritingScope(const WritingScope&) = delete;
  WritingScope& operator=(const WritingScope&) = delete;
  ~WritingScope() { writing_ = false; }

 private:
  bool& writing_;
};

}  // namespace

TraceHelper::Sink TraceHelper::sinkIs(Sink sink) {
  std::shared_ptr<Sink> next = sink ? std::make_shared<Sink>(std::move(sink)) : nullptr;
  state().sink.swap(next);
  Pith::TraceControl::writerIs(Pith::TraceConsumer::helper, state().sink ? &write : nullptr);
  return next ? *next : Sink();
}

TraceHelper::Sink TraceHelper::standardErrorSink() {
  return [](const Record& record) {
    std::string line = std::to_string(record.level);
    line.append(" ").append(record.facility).append(" [").append(record.function).append("] ");
    Pith::appendPrintable(line, record.text);
    line.push_back('\n');
    std::fwrite(line.data(), 1, line.size(), stderr);
  };
}

void TraceHelper::levelIs(std::string_view pattern, int level) {
  Pith::TraceControl::levelIs(Pith::TraceConsumer::helper, pattern, level);
}

int TraceHelper::level(std::string_view facility) {
  return Pith::TraceControl::level(Pith::TraceConsumer::helper, facility);
}

void TraceHelper::write(const Pith::TraceFacility& facility, int level, std::string_view function,
                        std::string_view text) {
  State& current = state();
  if (current.writing || !current.sink) return;
  const std::shared_ptr<Sink> sink = current.sink;
  const WritingScope scope(current.writing);
  (*sink)(Record{facility.name(), level, function, text});
}

}  // namespace Kiv
