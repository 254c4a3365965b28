// References between objects of a tree: they may form cycles, and nothing leaks.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "framework/Kiv/Dir.h"
#include "tests/framework/Kiv/TestTypes.h"
#include "tests/support/LiveCounts.h"
#include "tests/support/Recorder.h"

namespace {

using KivTest::Branch;
using KivTest::Leaf;
using KivTest::Tree;
using testing::ElementsAre;
using testing::IsEmpty;

class LinksTest : public testing::Test {
 protected:
  ~LinksTest() override {
    letGo();
    tree_ = nullptr;
    EXPECT_EQ(TestSupport::liveCounts(), before_);
  }

  // Two branches, each with a leaf, that refer to each other and to the other's leaf.
  void fill() {
    a_ = tree_->branchesIs("a");
    b_ = tree_->branchesIs("b");
    leafOfA_ = a_->leavesIs("leaf");
    leafOfB_ = b_->leavesIs("leaf");
    a_->neighbourIs(b_);
    b_->neighbourIs(a_);
    a_->linksIs("b", leafOfB_, leafOfB_, true);
    b_->linksIs("a", leafOfA_, leafOfA_, true);
    leafOfA_->nextIs(leafOfB_);
    leafOfB_->nextIs(leafOfA_);
    a_->tipIs("tip")->nextIs(leafOfB_);
  }
  void letGo() {
    a_ = b_ = nullptr;
    leafOfA_ = leafOfB_ = nullptr;
  }

  const std::map<std::string, std::uint64_t> before_ = TestSupport::liveCounts();
  Pith::Ptr<Tree> tree_ = Kiv::make<Tree>();
  Pith::Ptr<Branch> a_;
  Pith::Ptr<Branch> b_;
  Pith::Ptr<Leaf> leafOfA_;
  Pith::Ptr<Leaf> leafOfB_;
};

TEST_F(LinksTest, treeWithCyclesLeavesNothingWhenItIsDropped) {
  fill();
  EXPECT_NE(TestSupport::liveCounts(), before_);
  letGo();
  tree_ = nullptr;
}

TEST_F(LinksTest, removalCutsTheLinksThatLeaveTheObject) {
  fill();
  tree_->branchesDel("a");
  EXPECT_EQ(a_->neighbour(), nullptr);
  EXPECT_TRUE(a_->links().empty());
}

TEST_F(LinksTest, removalCutsTheLinksOfWhatTheObjectOwns) {
  fill();
  tree_->branchesDel("a");
  EXPECT_EQ(leafOfA_->next(), nullptr);
  EXPECT_EQ(a_->tip()->next(), nullptr);
  EXPECT_EQ(leafOfA_->parent(), a_.get());
}

TEST_F(LinksTest, removalLeavesTheLinksThatLeadToTheObject) {
  fill();
  tree_->branchesDel("a");
  EXPECT_EQ(b_->neighbour(), a_);
  EXPECT_EQ(b_->links("a")->leaf, leafOfA_);
  EXPECT_EQ(leafOfB_->next(), leafOfA_);
}

TEST_F(LinksTest, removalLeavesThePlainValues) {
  fill();
  a_->numberIs(7);
  leafOfA_->numberIs(8);
  tree_->branchesDel("a");
  EXPECT_EQ(a_->number(), 7U);
  EXPECT_EQ(a_->leaves("leaf")->number(), 8U);
}

TEST_F(LinksTest, linksAreCutWhenTheRemovalIsToldAndNobodyIsToldOfTheCut) {
  fill();
  const TestSupport::Recorder recorder(*a_);
  bool wereCut = false;
  const TestSupport::Recorder ofTree(*tree_, [&](const TestSupport::Recorder::Notice& /*notice*/) {
    wereCut = a_->neighbour() == nullptr && a_->links().empty();
  });
  tree_->branchesDel("a");
  EXPECT_TRUE(wereCut);
  EXPECT_THAT(recorder.told(), IsEmpty());
}

TEST_F(LinksTest, removedCycleIsGoneAsSoonAsNobodyHoldsIt) {
  fill();
  letGo();
  tree_->branchesDelAll();
  EXPECT_EQ(Kiv::AllocTrackTypeInfo::find("KivTest::Branch")->live(),
            before_.contains("KivTest::Branch") ? before_.at("KivTest::Branch") : 0U);
}

TEST_F(LinksTest, singleChildIsCutAsOthersAre) {
  const Pith::Ptr<Branch> trunk = tree_->trunkIs("oak");
  trunk->neighbourIs(trunk);
  tree_->trunkIs("elm")->neighbourIs(trunk);
  EXPECT_EQ(trunk->neighbour(), nullptr);
  const Pith::Ptr<Branch> elm = tree_->trunk();
  tree_->trunkDel();
  EXPECT_EQ(elm->neighbour(), nullptr);
}

TEST_F(LinksTest, ownerThatIsDroppedCutsTheLinksOfWhatItOwned) {
  fill();
  tree_ = nullptr;
  EXPECT_EQ(a_->neighbour(), nullptr);
  EXPECT_EQ(leafOfB_->next(), nullptr);
}

TEST_F(LinksTest, entryOfADirectoryIsCutWhenItLeaves) {
  const auto dir = Kiv::make<Kiv::Dir>();
  dir->entityIs("tree", tree_);
  fill();
  dir->entityDel("tree");
  EXPECT_EQ(a_->neighbour(), nullptr);
  EXPECT_EQ(leafOfA_->next(), nullptr);
}

TEST_F(LinksTest, directoryThatIsDroppedCutsAndFreesItsEntries) {
  auto dir = Kiv::make<Kiv::Dir>();
  const auto inner = dir->newEntity<Kiv::Dir>("inner");
  inner->entityIs("tree", tree_);
  fill();
  dir->entityDel("inner");
  EXPECT_EQ(inner->parent(), nullptr);
  EXPECT_EQ(tree_->parent(), inner.get());
  EXPECT_EQ(a_->neighbour(), nullptr);
  dir = nullptr;
}

TEST_F(LinksTest, objectMadeAgainUnderTheSameNameIsAnotherOne) {
  fill();
  tree_->branchesDel("a");
  const Pith::Ptr<Branch> again = tree_->branchesIs("a");
  EXPECT_NE(again, a_);
  EXPECT_EQ(again->number(), 0U);
  EXPECT_TRUE(again->leaves().empty());
  EXPECT_EQ(b_->neighbour(), a_);
  b_->neighbourIs(again);
  EXPECT_EQ(b_->neighbour(), again);
}

}  // namespace
