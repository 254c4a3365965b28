#include "framework/Kiv/Inspector.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "framework/Kiv/Dir.h"
#include "framework/Pith/RangeException.h"
#include "tests/framework/Kiv/TestTypes.h"
#include "tests/support/Recorder.h"

namespace {

using Kiv::Inspector;
using KivTest::Box;
using KivTest::Branch;
using KivTest::Leaf;
using KivTest::Tree;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class InspectorTest : public testing::Test {
 protected:
  void fillTree() const {
    const auto a = tree_->branchesIs("a");
    a->numberIs(7);
    a->leavesIs("x")->numberIs(8);
    tree_->trunkIs("oak");
  }
  std::vector<std::string> dump() const { return TestSupport::dumpOf(*tree_); }
  std::string errorOf(const std::function<void()>& action) const {
    try {
      action();
    } catch (const Pith::RangeException& error) {
      return error.what();
    }
    return "no error";
  }

  Pith::Ptr<Tree> tree_ = Kiv::make<Tree>();
  Inspector inspector_{*tree_};
};

TEST_F(InspectorTest, eachGivesEveryValueAndEntryAChildBeforeWhatIsBelowIt) {
  fillTree();
  EXPECT_THAT(dump(), ElementsAre("branches/a = ", "branches/a/number = 7",
                                  "branches/a/neighbour = ", "branches/a/leaves/x = ",
                                  "branches/a/leaves/x/number = 8", "branches/a/leaves/x/next = ",
                                  "trunk = oak", "trunk/number = 0", "trunk/neighbour = "));
}

TEST_F(InspectorTest, printIsALineForEach) {
  fillTree();
  std::ostringstream out;
  inspector_.print(out);
  EXPECT_EQ(out.str(),
            "branches/a\nbranches/a/number = 7\nbranches/a/neighbour\nbranches/a/leaves/x\n"
            "branches/a/leaves/x/number = 8\nbranches/a/leaves/x/next\n"
            "trunk = oak\ntrunk/number = 0\ntrunk/neighbour\n");
}

TEST_F(InspectorTest, printKeepsToItsLinesWhateverTheNames) {
  const auto box = Kiv::make<Box>();
  box->namesIs("line\nbreak");
  box->textIs("tab\there");
  std::ostringstream out;
  Inspector(*box).print(out);
  EXPECT_THAT(out.str(), HasSubstr("\nnames/line\\x0abreak\n"));
  EXPECT_THAT(out.str(), HasSubstr("\ntext = tab\\x09here\n"));
}

TEST_F(InspectorTest, findsObjectsByPath) {
  fillTree();
  EXPECT_EQ(inspector_.find(""), tree_.get());
  EXPECT_EQ(inspector_.find("branches/a"), tree_->branches("a").get());
  EXPECT_EQ(inspector_.find("branches/a/leaves/x"), tree_->branches("a")->leaves("x").get());
  EXPECT_EQ(inspector_.find("trunk"), tree_->trunk().get());
  EXPECT_EQ(inspector_.find("branches/b"), nullptr);
  EXPECT_EQ(inspector_.find("branches/b/leaves/x"), nullptr);
  EXPECT_EQ(inspector_.find("branches/a/tip"), nullptr);
}

TEST_F(InspectorTest, findRefusesAPathThatLeadsToNoChild) {
  fillTree();
  for (const char* path : {"nosuch", "branches", "branches/a/number", "branches/a/nosuch/x", "/"}) {
    EXPECT_THROW(inspector_.find(path), Pith::RangeException) << path;
  }
}

TEST_F(InspectorTest, readsValuesEntriesAndChildren) {
  fillTree();
  EXPECT_EQ(inspector_.read("branches/a/number"), "7");
  EXPECT_EQ(inspector_.read("branches/a"), "");
  EXPECT_EQ(inspector_.read("branches/b"), std::nullopt);
  EXPECT_EQ(inspector_.read("trunk"), "oak");
  EXPECT_EQ(inspector_.read("branches/a/tip"), std::nullopt);
  EXPECT_EQ(inspector_.read("branches/a/links/x"), std::nullopt);
  EXPECT_THROW(inspector_.read("branches"), Pith::RangeException);
  EXPECT_THROW(inspector_.read("branches/b/number"), Pith::RangeException);
  EXPECT_THROW(inspector_.read(""), Pith::RangeException);
}

TEST_F(InspectorTest, writesValuesEntriesAndChildren) {
  inspector_.write("branches/a", "");
  inspector_.write("branches/a/number", "7");
  inspector_.write("branches/a/leaves/x", "");
  inspector_.write("branches/a/leaves/x/number", "8");
  inspector_.write("trunk", "oak");
  inspector_.write("trunk/tip", "t");
  inspector_.write("branches/a/neighbour", Kiv::valueToStrep(tree_->trunk()));
  inspector_.write("branches/a/links/l", "leaf=" + Kiv::valueToStrep(tree_->trunk()->tip()));
  EXPECT_EQ(tree_->branches("a")->number(), 7U);
  EXPECT_EQ(tree_->branches("a")->leaves("x")->number(), 8U);
  EXPECT_EQ(tree_->branches("a")->neighbour(), tree_->trunk());
  EXPECT_EQ(tree_->branches("a")->links("l")->leaf, tree_->trunk()->tip());
}

TEST_F(InspectorTest, erasesEntriesCollectionsAndChildren) {
  fillTree();
  tree_->branchesIs("b");
  inspector_.erase("branches/a/leaves/x");
  EXPECT_TRUE(tree_->branches("a")->leaves().empty());
  inspector_.erase("branches/a");
  EXPECT_FALSE(tree_->branchesHas("a"));
  EXPECT_TRUE(tree_->branchesHas("b"));
  inspector_.erase("branches");
  EXPECT_TRUE(tree_->branches().empty());
  inspector_.erase("trunk");
  EXPECT_EQ(tree_->trunk(), nullptr);
}

TEST_F(InspectorTest, erasingWhatIsNotThereIsNoError) {
  inspector_.erase("branches/a");
  inspector_.erase("branches");
  inspector_.erase("trunk");
  EXPECT_THROW(inspector_.erase("branches/a/number"), Pith::RangeException);
}

TEST_F(InspectorTest, entryWithAnEmptyNameIsNotTheWholeCollection) {
  fillTree();
  inspector_.write("branches/", "");
  EXPECT_TRUE(tree_->branchesHas(""));
  EXPECT_EQ(inspector_.read("branches/"), "");
  EXPECT_EQ(inspector_.find("branches/"), tree_->branches("").get());
  inspector_.erase("branches/");
  EXPECT_FALSE(tree_->branchesHas(""));
  EXPECT_TRUE(tree_->branchesHas("a"));
}

TEST_F(InspectorTest, writesAreToldToTheSubscribers) {
  fillTree();
  const TestSupport::Recorder recorder(*tree_->branches("a"));
  inspector_.write("branches/a/number", "9");
  inspector_.write("branches/a/number", "9");
  inspector_.erase("branches/a/leaves/x");
  EXPECT_THAT(recorder.told(), ElementsAre("number: \"7\" -> \"9\"", "leaves/x: \"x\" -> none"));
}

TEST_F(InspectorTest, errorsNameThePathOrTheAttributeAndNothingHasChanged) {
  fillTree();
  const std::vector<std::string> before = dump();
  const auto write = [this](const char* path, const char* text) {
    return errorOf([&] { inspector_.write(path, text); });
  };
  EXPECT_THAT(write("nosuch", "1"), HasSubstr("an attribute of KivTest::Tree, not \"nosuch\""));
  EXPECT_THAT(write("branches/b/number", "1"), HasSubstr("\"branches/b/number\""));
  EXPECT_THAT(write("branches/a/number", "x"), HasSubstr("\"number\": bad number \"x\""));
  EXPECT_THAT(write("branches/a/number/more", "1"), HasSubstr("ends at \"number\""));
  EXPECT_THAT(write("branches", ""), HasSubstr("a key behind the collection"));
  EXPECT_THAT(write("branches/a/neighbour", "/nosuch@1"), HasSubstr("\"neighbour\""));
  EXPECT_THAT(write("branches/a/links/l", "nosuch=1"), HasSubstr("\"links\""));
  EXPECT_THAT(write("", "1"), HasSubstr("the name of an attribute"));
  EXPECT_THAT(errorOf([this] { inspector_.erase("branches/a/number"); }),
              HasSubstr("an entry or a collection"));
  EXPECT_EQ(dump(), before);
}

TEST_F(InspectorTest, whatOneTreeSaysMakesAnotherThatSaysTheSame) {
  const auto box = Kiv::make<Box>();
  box->flagIs(true);
  box->numberIs(7);
  box->smallIs(-7);
  box->textIs("a = b");
  box->colorIs(KivTest::Color::blue);
  box->maybeIs(0);
  const KivTest::Record record{"a,b=\"c\\", 80, KivTest::Color::green, 6};
  box->recordIs(record);
  box->linkIs(box->leavesIs("z"));
  for (const char* name : {"b", "", "a/b%2F", "new\nline"}) {
    box->namesIs(name);
    box->recordsIs(name, record);
    box->leavesIs(name)->numberIs(1);
    box->sortedLeavesIs(name);
  }
  box->numbersIs(10);
  box->numbersIs(9);
  box->stepsIs(2, "two");
  box->linksIs("l", box->leaves("z"), box->leaves("b"), true);
  box->singleIs("only")->nextIs(box->leaves(""));

  const auto copy = Kiv::make<Box>();
  Inspector(*box).each([&copy](std::string_view path, std::string_view text) {
    Inspector(*copy).write(path, text);
  });
  EXPECT_EQ(TestSupport::dumpOf(*copy), TestSupport::dumpOf(*box));
}

TEST_F(InspectorTest, treeMayChangeWhileItIsWalked) {
  fillTree();
  tree_->branchesIs("b");
  std::vector<std::string> paths;
  inspector_.each([&](std::string_view path, std::string_view) {
    paths.emplace_back(path);
    if (path == "branches/a") tree_->branchesDel("a");
    if (path == "branches/b") tree_->branchesIs("c");
  });
  EXPECT_THAT(
      paths,
      ElementsAre("branches/a", "branches/a/number", "branches/a/neighbour", "branches/a/leaves/x",
                  "branches/a/leaves/x/number", "branches/a/leaves/x/next", "branches/b",
                  "branches/b/number", "branches/b/neighbour", "branches/c", "branches/c/number",
                  "branches/c/neighbour", "trunk", "trunk/number", "trunk/neighbour"));
}

TEST_F(InspectorTest, directoriesAreWalkedButTheirEntriesAreNotMadeByText) {
  const auto dir = Kiv::make<Kiv::Dir>();
  dir->entityIs("leaf", Kiv::make<Leaf>("own"));
  const Inspector inspector(*dir);
  EXPECT_THAT(TestSupport::dumpOf(*dir),
              ElementsAre("entity/leaf = ", "entity/leaf/number = 0", "entity/leaf/next = "));
  inspector.write("entity/leaf/number", "5");
  EXPECT_EQ(inspector.read("entity/leaf/number"), "5");
  EXPECT_EQ(inspector.read("entity/leaf"), "");
  EXPECT_THAT(errorOf([&] { inspector.write("entity/other", ""); }),
              HasSubstr("an attribute that can be written"));
  inspector.erase("entity/leaf");
  EXPECT_THAT(TestSupport::dumpOf(*dir), IsEmpty());
}

}  // namespace
