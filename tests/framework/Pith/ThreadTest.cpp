// References and names that go from thread to thread, for ThreadSanitizer too.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <string>
#include <thread>

#include "framework/Pith/Node.h"
#include "framework/Pith/Ptr.h"
#include "framework/Pith/String.h"
#include "framework/Pith/ThreadControl.h"

namespace {

constexpr int threadCount = 4;
constexpr int rounds = 20000;

class SharedThing final : public Pith::Node {
 public:
  explicit SharedThing(std::atomic<int>& destroyed) : destroyed_(destroyed) {}
  int value = 42;

 private:
  ~SharedThing() override { ++destroyed_; }

  std::atomic<int>& destroyed_;
};

class ThreadTest : public testing::Test {
 protected:
  ThreadTest() { Pith::ThreadControl::threadedIs(true); }
  ~ThreadTest() override { Pith::ThreadControl::threadedIs(false); }

  template <class Work>
  static void inAllThreads(const Work& work) {
    std::array<std::thread, threadCount> threads;
    for (std::thread& thread : threads) thread = std::thread(work);
    for (std::thread& thread : threads) thread.join();
  }
};

TEST_F(ThreadTest, countsOfReferencesAreExactAfterCopiesInAllThreads) {
  std::atomic<int> destroyed = 0;
  auto thing = Pith::Ptr<SharedThing>::adopt(new SharedThing(destroyed));
  inAllThreads([&thing] {
    for (int round = 0; round < rounds; ++round) {
      Pith::Ptr<SharedThing> copy = thing;
      const Pith::Ptr<const Pith::Node> another = copy;
      copy = nullptr;
    }
  });
  EXPECT_EQ(thing->useCount(), 1U);
  thing = nullptr;
  EXPECT_EQ(destroyed, 1);
}

TEST_F(ThreadTest, whichThreadDropsLastDestroysOnceAndSeesTheWritesOfTheOthers) {
  for (int round = 0; round < 200; ++round) {
    std::atomic<int> destroyed = 0;
    std::atomic<int> sum = 0;
    {
      const auto thing = Pith::Ptr<SharedThing>::adopt(new SharedThing(destroyed));
      std::array<std::thread, threadCount> threads;
      for (std::thread& thread : threads) {
        thread = std::thread([held = thing, &sum]() mutable {
          sum += held->value;
          held = nullptr;
        });
      }
      for (std::thread& thread : threads) thread.join();
    }
    ASSERT_EQ(sum, 42 * threadCount);
    ASSERT_EQ(destroyed, 1);
  }
}

TEST_F(ThreadTest, namesAreCopiedComparedAndDroppedInAllThreads) {
  const Pith::String name("Ethernet1/2");
  std::atomic<int> different = 0;
  inAllThreads([&name, &different] {
    for (int round = 0; round < rounds; ++round) {
      Pith::String copy = name;
      const Pith::String own(std::string(name.view()));
      if (!(copy == own) || copy.hash() != own.hash()) ++different;
      copy = own;
    }
  });
  EXPECT_EQ(different, 0);
  EXPECT_EQ(name.view(), "Ethernet1/2");
}

TEST(ThreadControlTest, countsOfOneThreadGoOnWhereThreadedOnesStopped) {
  std::atomic<int> destroyed = 0;
  auto thing = Pith::Ptr<SharedThing>::adopt(new SharedThing(destroyed));
  Pith::ThreadControl::threadedIs(true);
  EXPECT_TRUE(Pith::ThreadControl::threaded());
  const Pith::Ptr<SharedThing> copy = thing;
  Pith::ThreadControl::threadedIs(false);
  EXPECT_FALSE(Pith::ThreadControl::threaded());
  EXPECT_EQ(copy->useCount(), 2U);
  thing = nullptr;
  EXPECT_EQ(copy->useCount(), 1U);
  EXPECT_EQ(destroyed, 0);
}

}  // namespace
