#include "framework/Pith/Ptr.h"

#include <gtest/gtest.h>

#include <type_traits>
#include <utility>

#include "framework/Pith/Node.h"

namespace {

// Says in `alive` how many of it there are.
class Thing : public Pith::Node {
 public:
  explicit Thing(int& alive) : alive_(alive) { ++alive_; }

 protected:
  ~Thing() override { --alive_; }

 private:
  int& alive_;
};

class SpecialThing final : public Thing {
 public:
  using Thing::Thing;
};

class PtrTest : public testing::Test {
 protected:
  Pith::Ptr<Thing> makeThing() { return Pith::Ptr<Thing>::adopt(new Thing(alive_)); }

  int alive_ = 0;
};

static_assert(sizeof(Pith::Ptr<Thing>) == sizeof(void*));
static_assert(std::is_convertible_v<Pith::Ptr<SpecialThing>, Pith::Ptr<const Thing>>);
static_assert(!std::is_convertible_v<Pith::Ptr<const Thing>, Pith::Ptr<Thing>>);
static_assert(!std::is_convertible_v<Pith::Ptr<Thing>, Pith::Ptr<SpecialThing>>);
static_assert(!std::is_copy_constructible_v<Pith::AnchorPtr<Thing>>);

TEST_F(PtrTest, nodeIsBornWithTheUseThatItsCreatorAdopts) {
  const Pith::Ptr<Thing> thing = makeThing();
  EXPECT_EQ(thing->useCount(), 1U);
  EXPECT_EQ(alive_, 1);
}

TEST_F(PtrTest, copyIsOneMoreUseAndMoveIsNone) {
  Pith::Ptr<Thing> thing = makeThing();
  const Pith::Ptr<Thing> copy = thing;  // NOLINT(performance-unnecessary-copy-initialization)
  EXPECT_EQ(copy->useCount(), 2U);
  const Pith::Ptr<Thing> moved = std::move(thing);
  EXPECT_EQ(moved->useCount(), 2U);
  EXPECT_EQ(thing, nullptr);  // NOLINT(bugprone-use-after-move)
}

TEST_F(PtrTest, lastReferenceDestroysTheNode) {
  Pith::Ptr<Thing> first = makeThing();
  Pith::Ptr<const Thing> second = first;
  first = nullptr;
  EXPECT_EQ(alive_, 1);
  second = nullptr;
  EXPECT_EQ(alive_, 0);
}

TEST_F(PtrTest, assignmentOfItselfKeepsTheNode) {
  Pith::Ptr<Thing> thing = makeThing();
  const Pith::Ptr<Thing>& same = thing;
  thing = same;
  EXPECT_EQ(thing->useCount(), 1U);
}

TEST_F(PtrTest, releasedUseBelongsToTheCaller) {
  Pith::Ptr<Thing> thing = makeThing();
  Thing* const raw = thing.release();
  EXPECT_EQ(thing, nullptr);
  EXPECT_EQ(raw->useCount(), 1U);
  raw->decUse();
  EXPECT_EQ(alive_, 0);
}

TEST_F(PtrTest, referencesToOneNodeAreEqualWhateverTheirTypes) {
  const auto special = Pith::Ptr<SpecialThing>::adopt(new SpecialThing(alive_));
  const Pith::Ptr<const Thing> thing = special;
  EXPECT_EQ(thing, special);
  EXPECT_NE(thing, makeThing());
  EXPECT_NE(thing, nullptr);
  EXPECT_EQ(thing.hash(), special.hash());
}

TEST_F(PtrTest, castToAnotherTypeIsNull) {
  const Pith::Ptr<Thing> special = Pith::Ptr<SpecialThing>::adopt(new SpecialThing(alive_));
  EXPECT_EQ(Pith::dynamicPtrCast<SpecialThing>(special), special);
  EXPECT_EQ(Pith::dynamicPtrCast<SpecialThing>(makeThing()), nullptr);
  EXPECT_EQ(Pith::dynamicPtrCast<SpecialThing>(Pith::Ptr<Thing>()), nullptr);
}

TEST_F(PtrTest, anchorKeepsTheNodeForItsLifetime) {
  Pith::Ptr<Thing> thing = makeThing();
  {
    const Pith::AnchorPtr<Thing> anchor(thing.get());
    thing = nullptr;
    EXPECT_EQ(alive_, 1);
  }
  EXPECT_EQ(alive_, 0);
}

// Tells, when it goes, what stands in the place where it was held.
class Successor final : public Pith::Node {
 public:
  Successor(const Pith::Ptr<Pith::Node>& place, Pith::Node*& seen) : place_(place), seen_(seen) {}

 private:
  void onLastUse() noexcept override {
    seen_ = place_.get();
    Node::onLastUse();
  }

  const Pith::Ptr<Pith::Node>& place_;
  Pith::Node*& seen_;
};

TEST_F(PtrTest, oldNodeGoesWhenTheNewOneIsInItsPlace) {
  Pith::Node* seen = nullptr;
  Pith::Ptr<Pith::Node> place;
  place = Pith::Ptr<Pith::Node>::adopt(new Successor(place, seen));
  const Pith::Ptr<Thing> thing = makeThing();
  place = thing;
  EXPECT_EQ(seen, thing.get());
}

// Hands out references to itself while it is torn down.
class Giver final : public Pith::Node {
 public:
  explicit Giver(int& destroyed) : destroyed_(destroyed) {}

 private:
  ~Giver() override { ++destroyed_; }
  void onLastUse() noexcept override {
    usesPinned();
    { const Pith::Ptr<Giver> self(this); }
    Node::onLastUse();
  }

  int& destroyed_;
};

TEST_F(PtrTest, referencesMayComeAndGoDuringTheTeardown) {
  int destroyed = 0;
  Pith::Ptr<Giver>::adopt(new Giver(destroyed));
  EXPECT_EQ(destroyed, 1);
}

TEST_F(PtrTest, settingANotificationFlagSaysWhetherItChanged) {
  const Pith::Ptr<Thing> thing = makeThing();
  EXPECT_FALSE(thing->hasNotificationActive());
  EXPECT_TRUE(Pith::hasNotificationActiveSet(*thing, true));
  EXPECT_FALSE(Pith::hasNotificationActiveSet(*thing, true));
  EXPECT_TRUE(thing->hasNotificationActive());
  EXPECT_TRUE(Pith::hasNotificationActiveSet(*thing, false));
  EXPECT_FALSE(thing->hasNotificationActive());
}

TEST_F(PtrTest, markAndSweepFlagIsWhatWasSet) {
  const Pith::Ptr<Thing> thing = makeThing();
  EXPECT_FALSE(thing->markAndSweepFlag());
  thing->markAndSweepFlagSet(true);
  EXPECT_TRUE(thing->markAndSweepFlag());
  thing->markAndSweepFlagSet(false);
  EXPECT_FALSE(thing->markAndSweepFlag());
}

}  // namespace
