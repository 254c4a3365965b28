// The allocator that all share.
#include "framework/Hoard/Hoard.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <thread>
#include <vector>

#include "framework/Hoard/Poison.h"
#include "framework/Pith/ThreadControl.h"

namespace {

struct Piece {
  unsigned char* memory;
  std::size_t bytes;
  unsigned char mark;
};

Piece piece(std::size_t bytes, unsigned char mark) {
  auto* memory = static_cast<unsigned char*>(Hoard::slabAlloc(bytes));
  std::memset(memory, mark, bytes);
  return {memory, bytes, mark};
}

bool isWhole(const Piece& piece) {
  for (std::size_t i = 0; i < piece.bytes; ++i) {
    if (piece.memory[i] != piece.mark) return false;
  }
  return true;
}

// Makes and ends pieces of all sizes; what is held keeps what was written to it.
void churn(unsigned seed) {
  std::mt19937 random(seed);
  std::vector<Piece> held;
  for (int step = 0; step < 20'000; ++step) {
    if (held.size() < 300 || random() % 2 == 0) {
      held.push_back(piece(random() % 1'500, static_cast<unsigned char>(random())));
    } else {
      std::swap(held[random() % held.size()], held.back());
      EXPECT_TRUE(isWhole(held.back()));
      Hoard::slabFree(held.back().memory, held.back().bytes);
      held.pop_back();
    }
  }
  for (const Piece& each : held) {
    EXPECT_TRUE(isWhole(each));
    Hoard::slabFree(each.memory, each.bytes);
  }
}

TEST(Hoard, memoryIsAlignedForEveryPlainType) {
  for (std::size_t bytes = 0; bytes <= 1'200; ++bytes) {
    void* memory = Hoard::slabAlloc(bytes);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(memory) % alignof(std::max_align_t), 0U);
    Hoard::slabFree(memory, bytes);
  }
}

TEST(Hoard, piecesDoNotOverlap) { churn(1); }

TEST(Hoard, nothingIsFreedQuietly) { Hoard::slabFree(nullptr, 100); }

TEST(Hoard, memoryGoesBackWhenItIsFreed) {
  const std::size_t before = Hoard::slabBytesHeld();
  std::vector<void*> held;
  for (int i = 0; i < 50'000; ++i) held.push_back(Hoard::slabAlloc(200));
  const std::size_t most = Hoard::slabBytesHeld();
  if (!Hoard::addressSanitizer) {
    EXPECT_GE(most, before + 50'000 * 200);
  }
  for (void* memory : held) Hoard::slabFree(memory, 200);
  EXPECT_LE(Hoard::slabBytesHeld(), before + std::size_t{64} * 1024);
}

TEST(Hoard, threadsMayShareItOnceThreaded) {
  Pith::ThreadControl::threadedIs(true);
  std::vector<std::thread> threads;
  for (unsigned i = 0; i < 4; ++i) threads.emplace_back(churn, i);
  for (std::thread& thread : threads) thread.join();
  Pith::ThreadControl::threadedIs(false);
}

}  // namespace
