#include "framework/Kiv/Dir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "framework/Pith/RangeException.h"
#include "tests/framework/Kiv/TestTypes.h"
#include "tests/support/Recorder.h"

namespace {

using Kiv::Dir;
using KivTest::Box;
using KivTest::Leaf;
using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::Recorder;

class DirTest : public testing::Test {
 protected:
  std::vector<std::string> names() const {
    std::vector<std::string> names;
    for (auto entry = dir_->entityPtrIteratorConst(); entry; ++entry) {
      names.emplace_back(entry.key().view());
    }
    return names;
  }

  Pith::Ptr<Dir> dir_ = Kiv::make<Dir>();
};

TEST_F(DirTest, entriesAreFoundByName) {
  const auto leaf = dir_->newEntity<Leaf>("leaf");
  const auto box = dir_->newEntity<Box>("box");
  EXPECT_EQ(leaf->name(), "leaf");
  EXPECT_EQ(dir_->entityPtr("leaf"), leaf);
  EXPECT_EQ(dir_->entityPtr("nosuch"), nullptr);
  EXPECT_TRUE(dir_->entityHas("box"));
  EXPECT_FALSE(dir_->entityHas("nosuch"));
  EXPECT_EQ(leaf->parent(), dir_.get());
  const Dir& constDir = *dir_;
  EXPECT_EQ(constDir.entityPtr("box"), box);
  EXPECT_EQ(constDir.entityPtrAs<Box>("box"), box);
  EXPECT_EQ(constDir.entityPtrAs<Box>("leaf"), nullptr);
  EXPECT_EQ(constDir.entityPtrAs<Box>("nosuch"), nullptr);
}

TEST_F(DirTest, additionAndRemovalAreToldOnceWithTheName) {
  const Recorder recorder(*dir_);
  dir_->newEntity<Leaf>("a");
  dir_->entityDel("a");
  dir_->entityDel("a");
  EXPECT_THAT(recorder.told(), ElementsAre("entity/a: none -> \"a\"", "entity/a: \"a\" -> none"));
  EXPECT_EQ(recorder.notices()[0].count, 1U);
  EXPECT_EQ(recorder.notices()[1].count, 0U);
  EXPECT_EQ(recorder.notices()[0].attribute->field, Dir::entityField);
}

TEST_F(DirTest, sameObjectAgainTellsNobody) {
  const auto leaf = dir_->newEntity<Leaf>("a");
  const Recorder recorder(*dir_);
  dir_->entityIs("a", leaf);
  EXPECT_THAT(recorder.told(), IsEmpty());
}

TEST_F(DirTest, anotherObjectUnderTheNameIsARemovalThenAnAddition) {
  const auto old = Kiv::make<Leaf>("old");
  dir_->entityIs("a", old);
  const Recorder recorder(*dir_);
  dir_->entityIs("a", Kiv::make<Leaf>("new"));
  EXPECT_THAT(recorder.told(),
              ElementsAre("entity/a: \"old\" -> none", "entity/a: none -> \"new\""));
  EXPECT_EQ(recorder.notices()[0].stored, std::nullopt);
  EXPECT_EQ(old->parent(), nullptr);
}

TEST_F(DirTest, removalOfAllTellsOfEachInOrder) {
  for (const char* name : {"c", "a", "b"}) dir_->newEntity<Leaf>(name);
  const Recorder recorder(*dir_);
  dir_->entityDelAll();
  EXPECT_THAT(recorder.keys(), ElementsAre("c", "a", "b"));
  EXPECT_TRUE(dir_->entity().empty());
}

TEST_F(DirTest, objectThatIsOwnedOrNullIsRefused) {
  dir_->newEntity<Leaf>("a");
  const auto other = Kiv::make<Dir>();
  const auto box = Kiv::make<Box>();
  const Recorder recorder(*dir_);
  EXPECT_THROW(dir_->entityIs("b", dir_->entityPtr("a")), Pith::RangeException);
  EXPECT_THROW(dir_->entityIs("a", other->newEntity<Leaf>("x")), Pith::RangeException);
  EXPECT_THROW(dir_->entityIs("a", box->leavesIs("x")), Pith::RangeException);
  EXPECT_THROW(dir_->entityIs("a", nullptr), Pith::RangeException);
  EXPECT_THAT(names(), ElementsAre("a"));
  EXPECT_THAT(recorder.told(), IsEmpty());
}

TEST_F(DirTest, directoryIsNotPutIntoItselfOrBelow) {
  const auto inner = dir_->newEntity<Dir>("inner");
  EXPECT_THROW(dir_->entityIs("self", dir_), Pith::RangeException);
  EXPECT_THROW(inner->entityIs("top", dir_), Pith::RangeException);
  EXPECT_THAT(names(), ElementsAre("inner"));
}

TEST_F(DirTest, entryThatLeftMayJoinAnotherDirectory) {
  const auto leaf = dir_->newEntity<Leaf>("a");
  dir_->entityDel("a");
  const auto other = Kiv::make<Dir>();
  other->entityIs("b", leaf);
  EXPECT_EQ(leaf->parent(), other.get());
}

TEST_F(DirTest, exceptionOnTheRemovalLetsTheReplacementHappen) {
  dir_->entityIs("a", Kiv::make<Leaf>("old"));
  const Recorder throwing(*dir_, [](const Recorder::Notice& notice) {
    if (!notice.current) throw std::runtime_error("from a subscriber");
  });
  const Recorder second(*dir_);
  const auto replacement = Kiv::make<Leaf>("new");
  EXPECT_THROW(dir_->entityIs("a", replacement), std::runtime_error);
  EXPECT_EQ(dir_->entityPtr("a"), replacement);
  EXPECT_EQ(second.notices().size(), 2U);
}

TEST_F(DirTest, exceptionLetsTheRemovalOfAllBeCompleted) {
  for (const char* name : {"a", "b", "c"}) dir_->newEntity<Leaf>(name);
  const Recorder throwing(
      *dir_, [](const Recorder::Notice& /*notice*/) { throw std::runtime_error("no"); });
  EXPECT_THROW(dir_->entityDelAll(), std::runtime_error);
  EXPECT_TRUE(dir_->entity().empty());
  EXPECT_EQ(throwing.notices().size(), 3U);
}

TEST_F(DirTest, entryThatASubscriberPutsInItsPlaceStays) {
  dir_->entityIs("a", Kiv::make<Leaf>("old"));
  const auto theirs = Kiv::make<Leaf>("theirs");
  const Recorder insisting(*dir_, [&](const Recorder::Notice& notice) {
    if (!notice.current) dir_->entityIs("a", theirs);
  });
  const auto ours = Kiv::make<Leaf>("ours");
  dir_->entityIs("a", ours);
  EXPECT_EQ(dir_->entityPtr("a"), theirs);
  EXPECT_EQ(ours->parent(), nullptr);
}

TEST_F(DirTest, subscriberMayDropTheDirectory) {
  const auto leaf = Kiv::make<Leaf>("a");
  const Recorder recorder(*dir_, [&](const Recorder::Notice& /*notice*/) { dir_ = nullptr; });
  dir_->entityIs("a", leaf);
  EXPECT_EQ(dir_, nullptr);
  EXPECT_EQ(leaf->parent(), nullptr);
}

// Iteration.

TEST_F(DirTest, iterationIsInTheOrderOfAddition) {
  for (const char* name : {"c", "a", "b"}) dir_->newEntity<Leaf>(name);
  EXPECT_THAT(names(), ElementsAre("c", "a", "b"));
  dir_->entityDel("c");
  dir_->newEntity<Leaf>("c");
  EXPECT_THAT(names(), ElementsAre("a", "b", "c"));
}

TEST_F(DirTest, iteratorGivesNameAndObject) {
  const auto leaf = dir_->newEntity<Leaf>("a");
  auto entry = dir_->entityPtrIteratorConst();
  ASSERT_TRUE(entry);
  EXPECT_EQ(entry.key(), "a");
  EXPECT_EQ(entry.ptr(), leaf);
  ++entry;
  EXPECT_FALSE(entry);
}

TEST_F(DirTest, iterationSurvivesTheRemovalOfAnyEntryAndVisitsWhatAppears) {
  for (const char* name : {"a", "b", "c", "d"}) dir_->newEntity<Leaf>(name);
  std::vector<std::string> visited;
  for (auto entry = dir_->entityPtrIteratorConst(); entry; ++entry) {
    visited.emplace_back(entry.key().view());
    if (visited.size() > 1) continue;
    dir_->entityDel("a");
    dir_->entityDel("c");
    dir_->newEntity<Leaf>("e");
    dir_->newEntity<Leaf>("a");
  }
  EXPECT_THAT(visited, ElementsAre("a", "b", "d", "e", "a"));
}

TEST_F(DirTest, iterationKeepsTheDirectoryAlive) {
  dir_->newEntity<Leaf>("a");
  auto entry = dir_->entityPtrIteratorConst();
  dir_ = nullptr;
  EXPECT_EQ(entry.key(), "a");
  ++entry;
  EXPECT_FALSE(entry);
}

TEST_F(DirTest, typeTableSaysThatItHoldsChildrenOfAnyType) {
  const Kiv::AttributeData& entity = *Dir::staticTypeData().attribute("entity");
  EXPECT_EQ(entity.kind, Kiv::AttributeKind::children);
  EXPECT_EQ(entity.field, Dir::entityField);
  EXPECT_EQ(entity.childType, nullptr);
  EXPECT_EQ(entity.write, nullptr);
  EXPECT_EQ(Dir::staticTypeData().name, "Kiv::Dir");
}

using DirDeathTest = DirTest;

TEST_F(DirDeathTest, goingOnBehindTheEndIsAsserted) {
  auto entry = dir_->entityPtrIteratorConst();
  EXPECT_DEATH(++entry, "assertion failed: iter_ ");
}

TEST_F(DirDeathTest, askingBehindTheEndIsAsserted) {
  const auto entry = dir_->entityPtrIteratorConst();
  EXPECT_DEATH(static_cast<void>(entry.key()), "assertion failed: eit_ ");
  EXPECT_DEATH(static_cast<void>(entry.ptr()), "assertion failed: eit_ ");
}

TEST_F(DirDeathTest, askingForAnEntryThatWasRemovedIsAsserted) {
  dir_->newEntity<Leaf>("a");
  const auto entry = dir_->entityPtrIteratorConst();
  dir_->entityDel("a");
  EXPECT_DEATH(static_cast<void>(entry.key()), "assertion failed: eit_ ");
}

}  // namespace
