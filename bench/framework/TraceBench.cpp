// What a trace site costs: recorded, shown and disabled. Beside it a bare memcpy of the bytes of
// the same message into a ring of the same size, and spdlog with a sink that drops everything.
#include <benchmark/benchmark.h>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "bench/framework/Table.h"
#include "framework/Fleetlog/Decode.h"
#include "framework/Pith/String.h"
#include "framework/Twinlog/Twinlog.h"

namespace {

constinit Twinlog::Facility facility("bench/framework/TraceBench");
constexpr Twinlog::Function fn(
    "bool Firewall::RootSm::addPolicyRule(const PtrConst&, U32, const Lanx::IpGenPrefix&)");

// The message of all measurements: a policy's name, a sequence number, a rule id.
const Pith::String policy("tenant-web-to-db");
constexpr std::uint32_t seqnum = 417;
constexpr std::uint32_t ruleId = seqnum << 22U | 12U;

[[gnu::noinline]] void trace(const Pith::String& name, std::uint32_t number, std::uint32_t id) {
  TWINLOG_FN(facility, 8, fn, ": %s, seqnum=%s, ruleId=%s", name, number, id);
}

// The bytes that one such message takes in the ring.
std::size_t messageBytes() {
  static const std::size_t bytes = [] {
    // Frame word and time, the text with its head of three bytes, an integer of two and one of
    // four.
    const std::size_t size = 16 + 3 + policy.size() + 1 + 2 + 1 + 4;
    return (size + 7) / 8 * 8;
  }();
  return bytes;
}

constexpr std::size_t messages = 100'000;

template <class Work>
void timeMessages(Bench::Life& life, const char* figure, const Work& work) {
  life.time(figure, [&] {
    for (std::size_t left = messages; left > 0; --left) {
      work();
      benchmark::ClobberMemory();
    }
  });
}

void lifeOfFleetlog(Bench::Life& life) {
  Fleetlog::TraceFile file;
  Fleetlog::traceFileIs(&file);
  timeMessages(life, "record", [] { trace(policy, seqnum, ruleId); });
  Fleetlog::traceFileIs(nullptr);
  timeMessages(life, "disabled site", [] { trace(policy, seqnum, ruleId); });
}

// The same call with nothing in it: what a disabled site takes beyond that is the site.
[[gnu::noinline]] void nothing(const Pith::String& name, std::uint32_t number, std::uint32_t id) {
  asm volatile("" : : "r"(&name), "r"(number), "r"(id));
}

void lifeOfMemcpy(Bench::Life& life) {
  const std::vector<std::byte> message(messageBytes(), std::byte{1});
  std::vector<std::byte> ring(std::size_t{4} << 20U);
  std::size_t size = message.size();
  benchmark::DoNotOptimize(ring.data());
  benchmark::DoNotOptimize(size);  // a length that the compiler does not know, as in a message
  std::size_t at = 0;
  timeMessages(life, "record", [&] {
    if (at + size > ring.size()) at = 0;
    std::memcpy(&ring[at], message.data(), size);
    at += size;
  });
  timeMessages(life, "disabled site", [] { nothing(policy, seqnum, ruleId); });
}

void lifeOfSpdlog(Bench::Life& life) {
  spdlog::logger logger("bench", std::make_shared<spdlog::sinks::null_sink_st>());
  timeMessages(life, "record", [&] {
    logger.info("{}: {}, seqnum={}, ruleId={}", fn.signature, policy.c_str(), seqnum, ruleId);
  });
  timeMessages(life, "disabled site", [&] {
    logger.debug("{}: {}, seqnum={}, ruleId={}", fn.signature, policy.c_str(), seqnum, ruleId);
  });
}

void traceShown(benchmark::State& state) {
  const auto sink = Kiv::TraceHelper::sinkIs(
      [](const Kiv::TraceHelper::Record& record) { benchmark::DoNotOptimize(record.text.data()); });
  const auto settings = Pith::TraceControl::settings(Pith::TraceConsumer::helper);
  Kiv::TraceHelper::levelIs("*", 9);
  for (auto _ : state) trace(policy, seqnum, ruleId);
  Pith::TraceControl::settingsAre(Pith::TraceConsumer::helper, settings);
  Kiv::TraceHelper::sinkIs(sink);
}
BENCHMARK(traceShown);

void traceDecoded(benchmark::State& state) {
  Fleetlog::TraceFile file;
  Fleetlog::traceFileIs(&file);
  for (int i = 0; i < 50'000; ++i) trace(policy, seqnum, ruleId);
  Fleetlog::traceFileIs(nullptr);
  std::int64_t count = 0;
  for (auto _ : state) {
    Fleetlog::decode(file.bytes(), [&](const Fleetlog::Message& message) {
      benchmark::DoNotOptimize(message.text.data());
      ++count;
    });
  }
  state.SetItemsProcessed(count);
}
BENCHMARK(traceDecoded);

const bool registered = [] {
  Bench::compare("F4 Trace", messages,
                 {{"Fleetlog", lifeOfFleetlog}, {"memcpy", lifeOfMemcpy}, {"spdlog", lifeOfSpdlog}},
                 20);
  return true;
}();

}  // namespace
