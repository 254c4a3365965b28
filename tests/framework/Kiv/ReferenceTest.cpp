// References as text: "/Type@number/path".
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "framework/Kiv/Dir.h"
#include "framework/Kiv/Object.h"
#include "framework/Kiv/Text.h"
#include "framework/Pith/RangeException.h"
#include "tests/framework/Kiv/TestTypes.h"

namespace {

using Kiv::strepToValue;
using Kiv::valueToStrep;
using KivTest::Branch;
using KivTest::Leaf;
using KivTest::Tree;
using testing::EndsWith;
using testing::MatchesRegex;

template <class T>
Pith::Ptr<T> read(const std::string& text) {
  return strepToValue<Pith::Ptr<T>>(text);
}

class ReferenceTest : public testing::Test {
 protected:
  Pith::Ptr<Tree> tree_ = Kiv::make<Tree>();
  std::string top_ = valueToStrep(tree_);
};

TEST_F(ReferenceTest, nullIsTheEmptyText) {
  EXPECT_EQ(valueToStrep(Pith::Ptr<Leaf>()), "");
  EXPECT_EQ(read<Leaf>(""), nullptr);
}

TEST_F(ReferenceTest, objectWithoutOwnerIsItsTypeAndANumber) {
  EXPECT_THAT(top_, MatchesRegex("/KivTest::Tree@[0-9]+"));
  EXPECT_EQ(valueToStrep(tree_), top_);
  EXPECT_EQ(read<Tree>(top_), tree_);
  EXPECT_EQ(read<const Kiv::Object>(top_), tree_);
  EXPECT_NE(valueToStrep(Kiv::make<Tree>()), top_);
}

TEST_F(ReferenceTest, ownedObjectIsItsPathBelowTheTopmostOwner) {
  const auto branch = tree_->branchesIs("a/b%");
  const auto leaf = branch->leavesIs("x");
  const auto tip = tree_->trunkIs("oak")->tipIs("t");
  EXPECT_EQ(valueToStrep(branch), top_ + "/branches/a%2Fb%25");
  EXPECT_EQ(valueToStrep(leaf), top_ + "/branches/a%2Fb%25/leaves/x");
  EXPECT_EQ(valueToStrep(tip), top_ + "/trunk/tip");
  EXPECT_EQ(read<Branch>(valueToStrep(branch)), branch);
  EXPECT_EQ(read<Leaf>(valueToStrep(leaf)), leaf);
  EXPECT_EQ(read<Leaf>(valueToStrep(tip)), tip);
}

TEST_F(ReferenceTest, emptyNamesAreStepsToo) {
  const auto branch = tree_->branchesIs("");
  const auto leaf = branch->leavesIs("");
  EXPECT_EQ(valueToStrep(branch), top_ + "/branches/");
  EXPECT_EQ(valueToStrep(leaf), top_ + "/branches//leaves/");
  EXPECT_EQ(read<Branch>(valueToStrep(branch)), branch);
  EXPECT_EQ(read<Leaf>(valueToStrep(leaf)), leaf);
}

TEST_F(ReferenceTest, entryOfADirectoryIsFoundUnderTheNameThatItHasThere) {
  const auto dir = Kiv::make<Kiv::Dir>();
  const auto leaf = Kiv::make<Leaf>("own name");
  dir->entityIs("there", leaf);
  dir->entityIs("tree", tree_);
  EXPECT_THAT(valueToStrep(leaf), EndsWith("/entity/there"));
  EXPECT_EQ(read<Leaf>(valueToStrep(leaf)), leaf);
  const auto branch = tree_->branchesIs("a");
  EXPECT_THAT(valueToStrep(branch), EndsWith("/entity/tree/branches/a"));
  EXPECT_EQ(read<Branch>(valueToStrep(branch)), branch);
}

TEST_F(ReferenceTest, numberOfAnObjectIsNeverThatOfALaterOne) {
  tree_ = nullptr;
  tree_ = Kiv::make<Tree>();
  EXPECT_NE(valueToStrep(tree_), top_);
  EXPECT_THROW(read<Tree>(top_), Pith::RangeException);
}

TEST_F(ReferenceTest, deadReferencesAreRefused) {
  auto branch = tree_->branchesIs("a");
  const std::string text = valueToStrep(branch);
  tree_->branchesDel("a");
  EXPECT_THROW(read<Branch>(text), Pith::RangeException);
  const std::string own = valueToStrep(branch);
  EXPECT_THAT(own, MatchesRegex("/KivTest::Branch@[0-9]+"));
  EXPECT_EQ(read<Branch>(own), branch);
  branch = nullptr;
  EXPECT_THROW(read<Branch>(own), Pith::RangeException);
  tree_ = nullptr;
  EXPECT_THROW(read<Tree>(top_), Pith::RangeException);
}

TEST_F(ReferenceTest, pathLeadsToTheObjectThatStandsThereNow) {
  const auto old = tree_->branchesIs("a");
  const std::string text = valueToStrep(old);
  tree_->branchesDel("a");
  const auto current = tree_->branchesIs("a");
  EXPECT_EQ(read<Branch>(text), current);
}

TEST_F(ReferenceTest, objectOfAnotherTypeIsRefused) {
  EXPECT_THROW(read<Leaf>(top_), Pith::RangeException);
}

TEST_F(ReferenceTest, malformedTextsAreRefused) {
  tree_->branchesIs("a");
  const std::string number = top_.substr(top_.find('@') + 1);
  for (const std::string& text : {
           std::string("x"),
           std::string("/"),
           std::string("//"),
           std::string("/KivTest::Tree"),
           std::string("/KivTest::Tree@"),
           std::string("/KivTest::Tree@x"),
           std::string("/KivTest::Tree@99999999"),
           "/KivTest::Leaf@" + number,
           "KivTest::Tree@" + number,
           top_ + "/",
           top_ + "/nosuch/a",
           top_ + "/branches",
           top_ + "/branches/nosuch",
           top_ + "/branches/a/number",
           top_ + "/branches/a/",
           top_ + "/trunk",
       }) {
    EXPECT_THROW(read<Kiv::Object>(text), Pith::RangeException) << text;
  }
}

}  // namespace
