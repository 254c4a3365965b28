// Slots in slabs, as one pool of them hands out.
#include "framework/Hoard/SlabPool.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <new>
#include <random>
#include <set>
#include <vector>

#include "framework/Hoard/Poison.h"

namespace {

using Hoard::SlabPool;

std::uintptr_t slabOf(void* slot) {
  return reinterpret_cast<std::uintptr_t>(slot) / SlabPool::slabBytes;
}

TEST(SlabPool, aSlotIsAtMostAQuarterLargerThanAskedFor) {
  for (std::size_t bytes = 1; bytes <= SlabPool::largestSlot; ++bytes) {
    EXPECT_GE(SlabPool::slotBytes(bytes), bytes);
    EXPECT_LE(SlabPool::slotBytes(bytes), std::max<std::size_t>(bytes + 15, bytes * 5 / 4));
  }
}

TEST(SlabPool, slotsOfOneSizeShareSlabs) {
  SlabPool pool;
  std::set<std::uintptr_t> slabs;
  std::set<void*> slots;
  for (int i = 0; i < 2'000; ++i) {
    void* slot = pool.alloc(100);
    EXPECT_TRUE(slots.insert(slot).second);
    slabs.insert(slabOf(slot));
  }
  EXPECT_EQ(pool.slabs(), slabs.size());
  EXPECT_EQ(slabs.size(), 2'000 * 112 / SlabPool::slabBytes + 1);
  EXPECT_NE(slabOf(pool.alloc(200)), slabOf(pool.alloc(100)));
}

TEST(SlabPool, theSlotLastFreedIsGivenOutNext) {
  SlabPool pool;
  pool.alloc(48);
  void* slot = pool.alloc(48);
  pool.alloc(48);
  pool.free(slot, 48);
  EXPECT_EQ(pool.alloc(48), slot);
}

TEST(SlabPool, aSlabWithoutUsedSlotsIsUnmappedButForOne) {
  SlabPool pool;
  std::vector<void*> slots;
  while (pool.slabs() < 5) slots.push_back(pool.alloc(1'000));
  std::shuffle(slots.begin(), slots.end(), std::mt19937(3));
  for (void* slot : slots) pool.free(slot, 1'000);
  EXPECT_EQ(pool.slabs(), 1U);
  // One object made and ended time after time maps nothing.
  void* slot = pool.alloc(1'000);
  EXPECT_EQ(pool.slabs(), 1U);
  pool.free(slot, 1'000);
  EXPECT_EQ(pool.slabs(), 1U);
}

TEST(SlabPool, aSlotOfAFullSlabIsUsedAgain) {
  SlabPool pool;
  std::vector<void*> slots;
  while (pool.slabs() < 3) slots.push_back(pool.alloc(512));
  void* const freed = slots[10];
  pool.free(freed, 512);
  std::vector<void*> more;
  while (more.empty() || (more.back() != freed && more.size() < 1'000)) {
    more.push_back(pool.alloc(512));
  }
  EXPECT_EQ(more.back(), freed);
  EXPECT_EQ(pool.slabs(), 3U);
}

// The address space that the process has, bytes.
rlim_t addressSpaceUsed() {
  rlim_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  return pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE));
}

TEST(SlabPool, memoryThatRunsOutRaisesBadAlloc) {
  SlabPool pool;
  pool.alloc(64);
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_AS, &before), 0);
  rlimit lessThanASlab = before;
  lessThanASlab.rlim_cur = addressSpaceUsed() + SlabPool::slabBytes / 2;
  ASSERT_EQ(setrlimit(RLIMIT_AS, &lessThanASlab), 0);
  bool isRefused = false;
  try {
    pool.alloc(1'024);
  } catch (const std::bad_alloc&) {
    isRefused = true;
  }
  ASSERT_EQ(setrlimit(RLIMIT_AS, &before), 0);
  EXPECT_TRUE(isRefused);
  EXPECT_EQ(pool.slabs(), 1U);
  EXPECT_NE(pool.alloc(1'024), nullptr);
}

TEST(SlabPoolDeathTest, aSlotIsFreedWithItsOwnSize) {
  SlabPool pool;
  void* slot = pool.alloc(100);
  EXPECT_DEATH(pool.free(slot, 300), "");
}

TEST(SlabPoolDeathTest, aFreedSlotIsNotTouched) {
  if (!Hoard::addressSanitizer) {
    std::puts("only the address sanitizer sees it");
    return;
  }
  SlabPool pool;
  auto* slot = static_cast<volatile char*>(pool.alloc(100));
  slot[50] = 1;
  pool.free(const_cast<char*>(slot), 100);
  EXPECT_DEATH(slot[50] = 2, "use-after-poison");
}

}  // namespace
