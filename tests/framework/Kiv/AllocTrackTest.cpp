// Objects from the slab allocator, counted by type.
#include "framework/Kiv/AllocTrack.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "framework/Pith/ThreadControl.h"

namespace {

struct Segment : Kiv::SlabObject<Segment> {
  static constexpr std::string_view typeName() { return "AllocTrackTest segment"; }

  Segment() = default;
  explicit Segment(bool fails) {
    if (fails) throw std::runtime_error("no segment");
  }
  Segment(const Segment&) = delete;
  Segment& operator=(const Segment&) = delete;
  virtual ~Segment() = default;

  std::array<std::uint64_t, 10> words{};
};

struct LargeSegment : Segment {
  LargeSegment() = default;
  std::array<std::uint64_t, 50> moreWords{};
};

struct HugeSegment : Segment {
  HugeSegment() = default;
  std::array<std::uint64_t, 500> moreWords{};
};

struct NamedByVariable : Kiv::SlabObject<NamedByVariable> {
  static constexpr const char* typeName = "AllocTrackTest variable";
};

struct NotNamed : Kiv::SlabObject<NotNamed> {};

struct alignas(128) Aligned : Kiv::SlabObject<Aligned> {
  int number = 0;
};

struct SameName : Kiv::SlabObject<SameName> {
  static std::string_view typeName() { return "AllocTrackTest segment"; }
};

const Kiv::AllocTrackTypeInfo& segments() { return Segment::typeInfo(); }

TEST(AllocTrack, objectsAreCountedUnderTheirTypesName) {
  const auto before = segments().total();
  {
    const auto first = std::make_unique<Segment>();
    const auto second = std::make_unique<Segment>();
    EXPECT_EQ(segments().name(), "AllocTrackTest segment");
    EXPECT_EQ(segments().objectSize(), sizeof(Segment));
    EXPECT_EQ(segments().live(), 2U);
    EXPECT_EQ(segments().bytes(), 2 * sizeof(Segment));
    EXPECT_EQ(Kiv::AllocTrackTypeInfo::find("AllocTrackTest segment"), &segments());
  }
  EXPECT_EQ(segments().live(), 0U);
  EXPECT_EQ(segments().bytes(), 0U);
  EXPECT_EQ(segments().total(), before + 2);
}

TEST(AllocTrack, aConstructorThatFailsLeavesNothing) {
  EXPECT_THROW(delete new Segment(true), std::runtime_error);
  EXPECT_EQ(segments().live(), 0U);
  EXPECT_EQ(segments().bytes(), 0U);
}

TEST(AllocTrack, objectsOfDerivedTypesCountWithTheirOwnSize) {
  std::unique_ptr<Segment> large = std::make_unique<LargeSegment>();
  std::unique_ptr<Segment> huge = std::make_unique<HugeSegment>();
  EXPECT_EQ(segments().live(), 2U);
  EXPECT_EQ(segments().bytes(), sizeof(LargeSegment) + sizeof(HugeSegment));
  large.reset();
  EXPECT_EQ(segments().bytes(), sizeof(HugeSegment));
  huge.reset();
  EXPECT_EQ(segments().live(), 0U);
  EXPECT_EQ(segments().bytes(), 0U);
}

TEST(AllocTrack, aTypeIsNamedByItselfOrByTheCode) {
  EXPECT_EQ(NamedByVariable::typeInfo().name(), "AllocTrackTest variable");
  EXPECT_TRUE(NotNamed::typeInfo().name().ends_with("::NotNamed")) << NotNamed::typeInfo().name();
}

TEST(AllocTrack, alignedTypesAreAligned) {
  std::vector<std::unique_ptr<Aligned>> all;
  for (int i = 0; i < 10; ++i) {
    all.push_back(std::make_unique<Aligned>());
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(all.back().get()) % 128, 0U);
  }
  EXPECT_EQ(Aligned::typeInfo().live(), 10U);
}

TEST(AllocTrack, oneNameIsOneType) {
  const auto segment = std::make_unique<Segment>();
  const auto same = std::make_unique<SameName>();
  EXPECT_EQ(&SameName::typeInfo(), &Segment::typeInfo());
  EXPECT_EQ(segments().live(), 2U);
}

TEST(AllocTrack, theRegistryIsWalkedByName) {
  delete new Segment;
  delete new NamedByVariable;
  std::vector<std::string> names;
  Kiv::AllocTrackTypeInfo::each(
      [&](const Kiv::AllocTrackTypeInfo& type) { names.push_back(type.name()); });
  EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
  EXPECT_EQ(std::count(names.begin(), names.end(), "AllocTrackTest segment"), 1);
  EXPECT_EQ(std::count(names.begin(), names.end(), "AllocTrackTest variable"), 1);
  EXPECT_EQ(Kiv::AllocTrackTypeInfo::find("AllocTrackTest nothing"), nullptr);
}

TEST(AllocTrack, threadsMayMakeObjectsOnceThreaded) {
  Pith::ThreadControl::threadedIs(true);
  {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back([] {
        for (int round = 0; round < 2'000; ++round) {
          const auto one = std::make_unique<Segment>();
          const auto other = std::make_unique<LargeSegment>();
        }
      });
    }
    for (std::thread& thread : threads) thread.join();
  }
  Pith::ThreadControl::threadedIs(false);
  EXPECT_EQ(segments().live(), 0U);
  EXPECT_EQ(segments().bytes(), 0U);
}

}  // namespace
