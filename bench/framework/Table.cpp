#include "bench/framework/Table.h"

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "framework/Hoard/Hoard.h"

namespace Bench {

namespace {

// Enough lives in a turn for a time that the clock can tell.
constexpr std::size_t entriesATurn = 100'000;

std::size_t rounds() {
  const char* const wanted = std::getenv("BENCH_ROUNDS");
  return wanted == nullptr ? 9 : std::strtoul(wanted, nullptr, 10);
}

// What the last contender freed is put together again before the next one's turn, or that would pay
// for it, and stays with the process, or it would pay the kernel for the pages.
void tidyHeap() {
  mallopt(M_MMAP_MAX, 0);
  mallopt(M_TRIM_THRESHOLD, 2'000'000'000);  // any setting has malloc consolidate first
}

bool isOneLife() { return std::getenv("BENCH_ONE_LIFE") != nullptr; }

double median(std::vector<double> values) {
  if (values.empty()) return 0;
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

class Comparison {
 public:
  Comparison(std::string title, std::size_t entries, Contenders contenders, std::size_t lives)
      : title_(std::move(title)),
        entries_(entries),
        contenders_(std::move(contenders)),
        lives_(lives != 0 ? lives : std::max<std::size_t>(1, entriesATurn / entries_)) {}

  void run(benchmark::State& state) {
    for (auto _ : state) {
      if (isOneLife()) {
        Life life;
        contenders_.front().second(life);
        continue;
      }
      for (std::size_t round = 0; round < rounds(); ++round) {
        for (const auto& [name, live] : contenders_) turn(name, live);
      }
    }
    if (isOneLife()) return;
    print();
    for (const auto& [figure, values] : figures_) {
      state.counters[figure] = medianOf(figure, contenders_.front().first);
      if (const double best = bestOfOthers(figure)) state.counters[figure + ":best"] = best;
      if (contenders_.size() < 2) continue;
      const double beside = medianOf(figure, contenders_[1].first);
      if (beside != 0) state.counters[figure + ":beside"] = beside;
    }
  }

 private:
  void turn(const std::string& name, const std::function<void(Life&)>& live) {
    tidyHeap();
    Life life;
    for (std::size_t i = 0; i < lives_; ++i) live(life);
    for (const auto& [figure, sum] : life.sums()) {
      figures_[figure][name].push_back(sum / static_cast<double>(entries_ * lives_));
    }
  }

  double medianOf(const std::string& figure, const std::string& name) const {
    const auto& values = figures_.at(figure);
    const auto found = values.find(name);
    return found == values.end() ? 0 : median(found->second);
  }
  double bestOfOthers(const std::string& figure) const {
    double best = 0;
    for (std::size_t i = 1; i < contenders_.size(); ++i) {
      const double value = medianOf(figure, contenders_[i].first);
      if (value != 0 && (best == 0 || value < best)) best = value;
    }
    return best;
  }

  void print() const {
    std::fprintf(stderr, "\n%s\n%-22s", title_.c_str(), "");
    for (const auto& [name, live] : contenders_) std::fprintf(stderr, "%20s", name.c_str());
    for (const auto& [figure, values] : figures_) {
      std::fprintf(stderr, "\n%-22s", figure.c_str());
      const double ours = medianOf(figure, contenders_.front().first);
      for (const auto& [name, live] : contenders_) {
        const double value = medianOf(figure, name);
        std::fprintf(stderr, "%12.1f (%5.2f)", value, value / ours);
      }
    }
    std::fprintf(stderr, "\n");
  }

  std::string title_;
  std::size_t entries_;
  Contenders contenders_;
  std::size_t lives_;
  std::map<std::string, std::map<std::string, std::vector<double>>> figures_;
};

}  // namespace

std::size_t heapBytes() noexcept {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd + Hoard::slabBytesHeld();
}

void compare(const std::string& title, std::size_t entries, const Contenders& contenders,
             std::size_t lives) {
  benchmark::RegisterBenchmark(
      title.c_str(),
      [=](benchmark::State& state) { Comparison(title, entries, contenders, lives).run(state); })
      ->Iterations(1)
      ->Unit(benchmark::kSecond);
}

}  // namespace Bench
