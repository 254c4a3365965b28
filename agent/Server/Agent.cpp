#include "agent/Server/Agent.h"

#include <fmt/core.h>

#include <algorithm>
#include <exception>
#include <iostream>
#include <sstream>

#include "agent/Document/Count.h"
#include "agent/Server/Verify.h"
#include "agent/Store/Reconcile.h"
#include "agent/View/Table.h"
#include "agent/View/Text.h"
#include "agent/View/TreeWriter.h"
#include "framework/Kiv/AllocTrack.h"
#include "framework/Kiv/Inspector.h"
#include "framework/Kiv/Path.h"
#include "framework/Kiv/TraceHelper.h"
#include "framework/Pith/RangeException.h"

namespace Agent {

class RunningAgent::WriteCount final : public Kiv::TreeWatcher {
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

RunningAgent::RunningAgent(std::vector<std::string> files, const CommonOptions& options)
    : files_(std::move(files)), options_(options) {}

RunningAgent::~RunningAgent() { store_.stop(); }

int RunningAgent::begin() {
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

// What is too large for the memory that there is, is refused like what is wrong.
std::optional<Document> RunningAgent::candidate(Timing& timing) const {
  try {
    int status = done;
    return loadChecked(files_, options_, timing, status);
  } catch (const std::exception& error) {
    tell(std::string("the candidate cannot be read: ") + error.what());
    return std::nullopt;
  }
}

void RunningAgent::commit() {
  const auto begin = std::chrono::steady_clock::now();
  Timing timing(options_);
  const auto document = candidate(timing);
  if (!document) {
    ++refusals_;
    tell("refused; the running configuration stays");
    return;
  }
  const Plan plan = planOf(store_, document->root);
  timing.step("compare");
  const std::uint64_t before = writes_->count();
  const auto applied = std::chrono::steady_clock::now();
  apply(plan, store_);
  lastReactorMilliseconds_ = since(applied).count();
  timing.step("commit");
  ++commits_;
  lastMilliseconds_ = since(begin).count();
  longestMilliseconds_ = std::max(longestMilliseconds_, lastMilliseconds_);
  tell(fmt::format("committed: {}, {} to the hardware, {:.2f} ms in the reactors, {:.1f} ms in all",
                   counted(plan.size(), "change"), counted(writes_->count() - before, "write"),
                   lastReactorMilliseconds_, lastMilliseconds_));
}

Answer RunningAgent::answer(const Words& words) {
  const std::string what = words.empty() ? "" : words[0];
  try {
    if (what == "show" && words.size() == 2 && words[1] == "stats") return stats();
    if (what == "show" && words.size() <= 2) return show(words.size() == 2 ? words[1] : "");
    if (what == "verify") return verification();
    if (what == "resync") return synchronise();
    if (what == "trace-level" && words.size() == 3) return traceLevel(words);
  } catch (const Pith::RangeException& error) {
    return {refused, std::string(error.what()) + "\n"};
  }
  return {refused, "the agent does not know this question\n"};
}

Answer RunningAgent::show(const std::string& path) const {
  const std::size_t slash = path.find('/');
  const std::string first = path.substr(0, slash);
  std::string rest = slash == std::string::npos ? "" : path.substr(slash + 1);
  Kiv::Object* object = nullptr;
  std::string names;
  for (const Store::Named& named : store_.objects()) {
    names.append(named.name).push_back('\n');
    if (named.name == first) object = named.object;
  }
  for (auto entry = store_.sources->entityPtrIteratorConst(); entry; ++entry) {
    std::string name = "source/";
    Kiv::appendPathKey(name, entry.key().view());
    names.append(name).push_back('\n');
    if (path == name || path.rfind(name + "/", 0) == 0) {
      object = store_.source(entry.key()).get();
      rest = path.size() == name.size() ? "" : path.substr(name.size() + 1);
    }
  }
  if (path.empty()) return {done, names};
  if (object == nullptr)
    return {answerIsNo, "there is no " + inQuotes(path) + "; there is\n" + names};

  std::string text;
  const auto writer = TreeWriter::json(text);
  // A value or an entry, unless the path leads to an object.
  Kiv::Object* at = nullptr;
  try {
    at = rest.empty() ? object : Kiv::Inspector(*object).find(rest);
  } catch (const Pith::RangeException&) {
    const auto value = Kiv::Inspector(*object).read(rest);
    if (!value) return {answerIsNo, "there is no " + inQuotes(path) + "\n"};
    return {done, *value + "\n"};
  }
  if (at == nullptr) return {answerIsNo, "there is no " + inQuotes(path) + "\n"};
  writer->object(*at);
  writer->done();
  return {done, text};
}

Answer RunningAgent::stats() const {
  std::ostringstream text;
  Table table({"TYPE", "LIVE", "EVER", "BYTES"}, TextStyle{.all = true});
  std::uint64_t bytes = 0;
  Kiv::AllocTrackTypeInfo::each([&](const Kiv::AllocTrackTypeInfo& type) {
    bytes += type.bytes();
    table.row(
        {{type.name()}, {grouped(type.live())}, {grouped(type.total())}, {grouped(type.bytes())}});
  });
  table.print(text, "");
  text << grouped(bytes) << " bytes in objects\n"
       << counted(writes_->count(), "notification") << " of the hardware agent\n"
       << counted(commits_, "commit") << ", " << grouped(refusals_) << " refused\n"
       << fmt::format("last commit {:.1f} ms, {:.2f} ms of it in the reactors; longest {:.1f} ms\n",
                      lastMilliseconds_, lastReactorMilliseconds_, longestMilliseconds_);
  return {done, text.str()};
}

Answer RunningAgent::verification() const {
  const std::vector<Difference> differences = verify(store_);
  if (differences.empty()) return {done, "the output is what its configuration makes\n"};
  std::string text;
  for (const Difference& difference : differences) {
    text += difference.path + ": is " +
            (difference.running.empty() ? "not there" : difference.running) + ", would be " +
            (difference.fresh.empty() ? "not there" : difference.fresh) + "\n    " +
            (difference.explanation.empty() ? "not explained: this is a fault"
                                            : "explained: " + difference.explanation) +
            "\n";
  }
  return {answerIsNo, text + counted(differences.size(), "difference") + "\n"};
}

Answer RunningAgent::synchronise() {
  const std::uint64_t before = writes_->count();
  resync(store_);
  return {done, counted(writes_->count() - before, "write") + "\n"};
}

Answer RunningAgent::traceLevel(const Words& words) const {
  const auto setting = traceLevelOf(words[1] + "/" + words[2]);
  if (!setting)
    return {refused, inQuotes(words[2]) + " is not a level of 0 to 9, or -1 for none\n"};
  Kiv::TraceHelper::levelIs(setting->first, setting->second);
  // The sink that is there is kept: it is the same one.
  Kiv::TraceHelper::sinkIs(Kiv::TraceHelper::standardErrorSink());
  return {done, ""};
}

}  // namespace Agent
