// Ours beside what a user would take instead.
//
// A contender lives one life after the other: it is built, searched, walked and emptied, and each
// of these is a figure. Contenders take turns, because the machine is shared; the table, on
// standard error, has the median of each figure per entry, and in brackets how many times ours it
// is.
//
//   Bench::compare("Map, 1000", 1'000, {{"Kiv", life<KivMap>}, {"std::map", life<StdMap>}});
//
//   void life(Bench::Life& life) {
//     life.time("insert", [&] { ... });
//     life.note("bytes", Bench::heapBytes() - before);
//   }
//
// The first contender is ours. BENCH_ROUNDS in the environment says how many turns each gets; it is
// 9 otherwise. With BENCH_ONE_LIFE=1 ours lives once and nobody else does.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace Bench {

// Bytes that are allocated, the allocator's own overhead included.
std::size_t heapBytes() noexcept;

class Life {
 public:
  // Adds the nanoseconds that `work` takes to the figure.
  template <class Work>
  void time(const std::string& figure, const Work& work) {
    const auto start = std::chrono::steady_clock::now();
    measured(work);
    const std::chrono::duration<double, std::nano> taken = std::chrono::steady_clock::now() - start;
    sums_[figure] += taken.count();
  }
  // The same for a figure that is not a time.
  void note(const std::string& figure, std::size_t amount) {
    sums_[figure] += static_cast<double>(amount);
  }

  const std::map<std::string, double>& sums() const noexcept { return sums_; }

 private:
  // Apart, so that a tool that counts instructions can tell it from the rest.
  template <class Work>
  [[gnu::noinline]] static void measured(const Work& work) {
    work();
  }

  std::map<std::string, double> sums_;
};

using Contenders = std::vector<std::pair<std::string, std::function<void(Life&)>>>;

// Registers the comparison as a benchmark. Its counters are the figures of ours per entry, and for
// each, under the figure's name and ":beside", that of the second contender, and under ":best" that
// of the best of the others. A turn is `lives`
// lives, or for 0 enough of them that a turn has 100,000 entries.
void compare(const std::string& title, std::size_t entries, const Contenders& contenders,
             std::size_t lives = 0);

}  // namespace Bench
