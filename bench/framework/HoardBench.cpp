// Hoard beside malloc: objects of the sizes that reactors and store objects have.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "bench/framework/Table.h"
#include "framework/Hoard/Hoard.h"

namespace {

struct Slabs {
  static void* alloc(std::size_t bytes) { return Hoard::slabAlloc(bytes); }
  static void free(void* memory, std::size_t bytes) { Hoard::slabFree(memory, bytes); }
};
struct Malloc {
  static void* alloc(std::size_t bytes) { return std::malloc(bytes); }
  static void free(void* memory, std::size_t) { std::free(memory); }
};

struct Piece {
  void* memory;
  std::size_t bytes;
};

std::vector<std::size_t> mixedSizes(std::size_t count) {
  constexpr std::array<std::size_t, 7> usual = {40, 88, 136, 200, 264, 360, 712};
  std::vector<std::size_t> sizes(count);
  std::mt19937 random(1);
  for (std::size_t& size : sizes) size = usual[random() % usual.size()];
  return sizes;
}

template <class Allocator>
Piece made(std::size_t bytes) {
  void* const memory = Allocator::alloc(bytes);
  std::memset(memory, 1, 32);
  return {memory, bytes};
}

template <class Allocator>
Bench::Contenders::value_type contender(const char* name, const std::vector<std::size_t>& sizes) {
  std::vector<std::uint32_t> order(sizes.size());
  for (std::uint32_t i = 0; i < order.size(); ++i) order[i] = i;
  std::shuffle(order.begin(), order.end(), std::mt19937(2));
  return {name, [sizes, order](Bench::Life& life) {
            std::vector<Piece> pieces(sizes.size());
            const std::size_t before = Bench::heapBytes();
            life.time("1 alloc", [&] {
              for (std::size_t i = 0; i < sizes.size(); ++i) pieces[i] = made<Allocator>(sizes[i]);
            });
            life.note("5 bytes", Bench::heapBytes() - before);
            life.time("2 free and alloc", [&] {
              for (const std::uint32_t i : order) {
                Allocator::free(pieces[i].memory, pieces[i].bytes);
                pieces[i] = made<Allocator>(sizes[i]);
              }
            });
            life.time("3 free half, alloc", [&] {
              for (std::size_t i = 0; i < order.size(); i += 2) {
                Allocator::free(pieces[order[i]].memory, pieces[order[i]].bytes);
              }
              for (std::size_t i = 0; i < order.size(); i += 2) {
                pieces[order[i]] = made<Allocator>(sizes[order[i]]);
              }
            });
            life.time("4 free", [&] {
              for (const std::uint32_t i : order) {
                Allocator::free(pieces[i].memory, pieces[i].bytes);
              }
            });
          }};
}

const bool registered = [] {
  for (const std::size_t count : {std::size_t{1'000}, std::size_t{300'000}}) {
    const std::string number = std::to_string(count);
    const std::vector<std::size_t> same(count, 136);
    Bench::compare("F8 Hoard, objects of 136 bytes, " + number, count,
                   {contender<Slabs>("Hoard", same), contender<Malloc>("malloc", same)});
    const std::vector<std::size_t> mixed = mixedSizes(count);
    Bench::compare("F8 Hoard, objects of 40 to 712 bytes, " + number, count,
                   {contender<Slabs>("Hoard", mixed), contender<Malloc>("malloc", mixed)});
  }
  return true;
}();

}  // namespace
