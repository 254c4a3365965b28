// What it takes to read a configuration, to publish it, and to commit a change of it: of a given
// size, made by tools/configurations.py, and of the data of real networks where they are, a full
// routing table among them.
//
// The comparisons time each step of `fwagent compile` apart, for the whole configuration.
//
// One change commits a document with one rule other; the reading of the document is part of it, as
// in `fwagent run --watch`.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>

#include "agent/Document/Load.h"
#include "agent/Schema/Check.h"
#include "agent/Schema/Warnings.h"
#include "agent/Store/Reconcile.h"
#include "agent/View/CompiledTree.h"
#include "bench/framework/Table.h"

namespace {

namespace fs = std::filesystem;

// A file that the script wrote; empty when it could not.
std::string made(const std::string& name, const std::string& what) {
  const fs::path file = fs::temp_directory_path() / ("fwagent-bench-" + name + ".json");
  const std::string command =
      "python3 tools/configurations.py -o '" + file.string() + "' " + what + " 2>/dev/null";
  return std::system(command.c_str()) == 0 ? file.string() : std::string();
}

std::string realData() {
  if (const char* const given = std::getenv("FIREWALL_TEST_DATA")) return given;
  for (fs::path folder = fs::current_path(); folder != folder.root_path();
       folder = folder.parent_path()) {
    if (fs::is_directory(folder / "shared/data")) return (folder / "shared/data").string();
  }
  return {};
}

const std::string& configuration(std::int64_t number) {
  const auto ofData = [](const std::string& kind) {
    return realData().empty() ? std::string() : made(kind, kind + " '" + realData() + "'");
  };
  static const std::array<std::string, 3> files{made("synthetic", "synthetic"), ofData("real"),
                                                ofData("routes")};
  return files.at(static_cast<std::size_t>(number));
}

Agent::Document documentOf(const std::string& file) {
  Agent::Diagnostics diagnostics;
  Agent::Document document = Agent::load({file}, diagnostics);
  Agent::check(document, diagnostics);
  Agent::warn(document.root, {}, diagnostics);
  if (diagnostics.errors() != 0) std::abort();
  return document;
}

// The same configuration with the first rule that drops forwarding.
std::string changed(const std::string& file) {
  std::ifstream in(file);
  std::string text{std::istreambuf_iterator<char>(in), {}};
  const std::string drop = "\"action\": \"drop\"";
  text.replace(text.find(drop), drop.size(), "\"action\": \"forward\"");
  const std::string other = file + ".changed.json";
  std::ofstream(other) << text;
  return other;
}

void configurationRead(benchmark::State& state) {
  const std::string& file = configuration(state.range(0));
  if (file.empty()) return state.SkipWithError("no such data here");
  for (auto round : state) benchmark::DoNotOptimize(documentOf(file));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(fs::file_size(file)));
}

void configurationCompiled(benchmark::State& state) {
  const std::string& file = configuration(state.range(0));
  if (file.empty()) return state.SkipWithError("no such data here");
  const Agent::Document document = documentOf(file);
  for (auto round : state) {
    Agent::Store store;
    apply(planOf(store, document.root), store);
    store.start();
  }
}

void configurationChanged(benchmark::State& state) {
  const std::string& file = configuration(state.range(0));
  if (file.empty()) return state.SkipWithError("no such data here");
  const std::string other = changed(file);
  Agent::Store store;
  apply(planOf(store, documentOf(file).root), store);
  store.start();
  bool isOther = false;
  for (auto round : state) {
    isOther = !isOther;
    const Agent::Document document = documentOf(isOther ? other : file);
    apply(planOf(store, document.root), store);
  }
}

void compile(std::int64_t number, Bench::Life& life) {
  const std::string& file = configuration(number);
  std::optional<Agent::Document> document;
  life.time("parse and validate", [&] { document = documentOf(file); });
  Agent::Store store;
  life.time("publish", [&] { apply(planOf(store, document->root), store); });
  life.time("react", [&] { store.start(); });
  life.time("print", [&] { benchmark::DoNotOptimize(compiledTree(store, true)); });
}

const bool registered = [] {
  const auto compareSteps = [](const std::string& what, std::int64_t number) {
    const std::string title = "8 The agent, " + what;
    if (number != 0 && realData().empty()) {
      benchmark::RegisterBenchmark(
          title.c_str(), [](benchmark::State& state) { state.SkipWithError("no such data here"); });
      return;
    }
    const auto live = [=](Bench::Life& life) { compile(number, life); };
    Bench::compare(title, 1, {{"fwagent", live}}, 1);
  };
  compareSteps("synthetic", 0);
  compareSteps("real data", 1);
  compareSteps("a full routing table", 2);
  return true;
}();

// 0: 100,000 prefixes, 1,000 services, 10,000 rules; 1: real data; 2: a full routing table.
BENCHMARK(configurationRead)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);
BENCHMARK(configurationCompiled)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);
BENCHMARK(configurationChanged)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

}  // namespace
