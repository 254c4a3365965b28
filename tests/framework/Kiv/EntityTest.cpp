// The typed side of attributes: accessors, mutators and what a notification points to. What every
// kind of attribute keeps is in AttributeContractTest.cpp.
#include "framework/Kiv/Entity.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "framework/Pith/RangeException.h"
#include "tests/framework/Kiv/IndexedBox.h"
#include "tests/framework/Kiv/TestTypes.h"
#include "tests/support/Recorder.h"

namespace {

using KivTest::Box;
using KivTest::Color;
using KivTest::Leaf;
using KivTest::Record;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

class EntityTest : public testing::Test {
 protected:
  Pith::Ptr<Box> box_ = Kiv::make<Box>();
  const Box& constBox_ = *box_;
  const Record web_{"web", 80, Color::blue, {}};
};

TEST_F(EntityTest, valuesBeginAsTheirDefaults) {
  EXPECT_FALSE(box_->flag());
  EXPECT_EQ(box_->number(), 0U);
  EXPECT_EQ(box_->text(), "");
  EXPECT_EQ(box_->color(), Color::red);
  EXPECT_EQ(box_->link(), nullptr);
  EXPECT_EQ(box_->single(), nullptr);
}

TEST_F(EntityTest, setsAreAskedByValue) {
  box_->namesIs("a");
  EXPECT_TRUE(box_->namesHas("a"));
  EXPECT_FALSE(box_->namesHas("b"));
  EXPECT_EQ(box_->names().size(), 1U);
  box_->namesDel("a");
  EXPECT_FALSE(box_->namesHas("a"));
}

TEST_F(EntityTest, mapsAreAskedByKeyAndWrittenByTheFieldsOfTheirValue) {
  const Record* const written =
      box_->recordsIs("a", "web", std::uint16_t{80}, Color::blue, std::nullopt);
  ASSERT_NE(written, nullptr);
  EXPECT_EQ(*written, web_);
  EXPECT_EQ(constBox_.records("a"), written);
  EXPECT_EQ(constBox_.records("b"), nullptr);
  EXPECT_TRUE(box_->recordsHas("a"));
}

TEST_F(EntityTest, writeReturnsTheEntryThatIsThere) {
  const Pith::Ptr<Leaf> leaf = box_->leavesIs("a");
  EXPECT_EQ(box_->leavesIs("a"), leaf);
  EXPECT_EQ(box_->leaves("a"), leaf);
  EXPECT_EQ(constBox_.leaves("a"), leaf);
  EXPECT_EQ(leaf->name(), "a");
  EXPECT_EQ(leaf->key(), "a");
  EXPECT_EQ(box_->leaves("b"), nullptr);
  box_->stepsIs(1, "one");
  EXPECT_EQ(*box_->stepsIs(1, "one"), "one");
  EXPECT_EQ(*box_->stepsIs(1, "two"), "two");
  EXPECT_EQ(*box_->namesIs("a"), "a");
  EXPECT_EQ(box_->namesIs("a"), &*box_->names().begin());
}

TEST_F(EntityTest, writeOfAMapReturnsNullWhenASubscriberRemovedTheEntry) {
  const TestSupport::Recorder recorder(
      *box_, [this](const TestSupport::Recorder::Notice& /*notice*/) { box_->stepsDel(1); });
  EXPECT_EQ(box_->stepsIs(1, "one"), nullptr);
}

TEST_F(EntityTest, writeOfASetReturnsNullWhenASubscriberRemovedTheMember) {
  const TestSupport::Recorder recorder(
      *box_, [this](const TestSupport::Recorder::Notice& /*notice*/) { box_->namesDel("a"); });
  EXPECT_EQ(box_->namesIs("a"), nullptr);
}

TEST_F(EntityTest, singleChildIsMadeUnderItsName) {
  const Pith::Ptr<Leaf> leaf = box_->singleIs("only");
  EXPECT_EQ(leaf->name(), "only");
  EXPECT_EQ(box_->single(), leaf);
  EXPECT_EQ(constBox_.single(), leaf);
  EXPECT_EQ(box_->singleIs("only"), leaf);
  box_->singleDel();
  EXPECT_EQ(box_->single(), nullptr);
}

TEST_F(EntityTest, collectionsAreWalkedInTheOrderOfInsertionOrOfKeys) {
  for (const char* name : {"b", "c", "a"}) {
    box_->leavesIs(name);
    box_->sortedLeavesIs(name);
  }
  std::vector<std::string> inserted;
  for (const auto& leaf : constBox_.leaves()) inserted.emplace_back(leaf->name().view());
  EXPECT_THAT(inserted, ElementsAre("b", "c", "a"));
  std::vector<std::string> sorted;
  for (const auto& leaf : constBox_.sortedLeaves()) sorted.emplace_back(leaf->name().view());
  EXPECT_THAT(sorted, ElementsAre("a", "b", "c"));
}

TEST_F(EntityTest, numbersAreOrderedByValueNotByText) {
  for (const std::uint32_t number : {10U, 9U, 100U}) box_->numbersIs(number);
  std::vector<std::uint32_t> walked;
  for (const std::uint32_t number : box_->numbers()) walked.push_back(number);
  EXPECT_THAT(walked, ElementsAre(9U, 10U, 100U));
}

// What a notification points to.

TEST_F(EntityTest, notificationPointsToTheKeyTheValuesAndTheChildren) {
  std::vector<std::string> seen;
  Pith::Subscriber subscriber(&seen, [](void* owner, Pith::Publisher*, Pith::Subscriber*,
                                        Pith::FieldId field, const void* key,
                                        const Pith::Change* change) {
    auto& log = *static_cast<std::vector<std::string>*>(owner);
    if (field == Box::numberField) {
      EXPECT_EQ(key, nullptr);
      log.push_back(std::to_string(*static_cast<const std::uint32_t*>(change->previous)) + " to " +
                    std::to_string(*static_cast<const std::uint32_t*>(change->current)));
    } else if (field == Box::recordsField) {
      log.push_back(static_cast<const Pith::String*>(key)->c_str() + std::string(" is ") +
                    static_cast<const Record*>(change->current)->name.c_str());
    } else if (field == Box::namesField) {
      log.push_back(static_cast<const Pith::String*>(key)->c_str() + std::string(" joined ") +
                    static_cast<const Pith::String*>(change->current)->c_str());
    } else if (field == Box::leavesField) {
      log.push_back(static_cast<const Pith::String*>(key)->c_str() + std::string(" gone ") +
                    static_cast<const Leaf*>(change->previous)->name().c_str());
    }
  });
  box_->leavesIs("leaf");
  box_->publisher().subscriberAdd(subscriber);
  box_->numberIs(7);
  box_->recordsIs("r", web_);
  box_->namesIs("n");
  box_->leavesDel("leaf");
  EXPECT_THAT(seen, ElementsAre("0 to 7", "r is web", "n joined n", "leaf gone leaf"));
}

TEST_F(EntityTest, keyGivenFromInsideTheEntryMayBeRemovedByIt) {
  box_->leavesIs("leaf");
  box_->recordsIs("r", web_);
  box_->namesIs("n");
  box_->leavesDel(box_->leaves("leaf")->name());
  box_->recordsDel(box_->records().begin()->key);
  box_->namesDel(*box_->names().begin());
  EXPECT_TRUE(box_->leaves().empty());
  EXPECT_TRUE(box_->records().empty());
  EXPECT_TRUE(box_->names().empty());
}

// Owners.

TEST_F(EntityTest, childKnowsItsOwnerAndItsStepWhileItIsOwned) {
  const Pith::Ptr<Leaf> leaf = box_->leavesIs("a/b");
  EXPECT_EQ(leaf->parent(), box_.get());
  EXPECT_EQ(leaf->step(), "leaves/a%2Fb");
  EXPECT_EQ(box_->singleIs("x")->step(), "single");
  EXPECT_EQ(box_->parent(), nullptr);
  EXPECT_EQ(box_->step(), "");
  box_->leavesDel("a/b");
  EXPECT_EQ(leaf->parent(), nullptr);
  EXPECT_EQ(leaf->step(), "");
}

TEST_F(EntityTest, stepNamesTheCollectionThatHoldsTheChild) {
  box_->leavesIs("same");
  const Pith::Ptr<Leaf> sorted = box_->sortedLeavesIs("same");
  EXPECT_EQ(sorted->step(), "sortedLeaves/same");
}

TEST_F(EntityTest, childThatIsHeldOutlivesItsOwner) {
  const Pith::Ptr<Leaf> leaf = box_->leavesIs("a");
  const Pith::Ptr<Leaf> single = box_->singleIs("b");
  leaf->numberIs(7);
  box_ = nullptr;
  EXPECT_EQ(leaf->parent(), nullptr);
  EXPECT_EQ(single->parent(), nullptr);
  EXPECT_EQ(leaf->number(), 7U);
}

// Indexes.

class IndexTest : public testing::Test {
 protected:
  void writeAll() {
    box_->numberIs(3);
    box_->namesIs("n");
    box_->weightsIs("w", 1U);
    box_->stepsIs(2, "two");
    box_->leavesIs("l");
    box_->sortedLeavesIs("s");
  }

  Pith::Ptr<KivTest::IndexedBox> box_ = Kiv::make<KivTest::IndexedBox>();
};

TEST_F(IndexTest, indexFollowsEveryChange) {
  writeAll();
  EXPECT_THAT(box_->index(), ElementsAre(Pair("leaves/l", "l"), Pair("names/n", "n"),
                                         Pair("number/value", "3"), Pair("sortedLeaves/s", "s"),
                                         Pair("steps/2", "two"), Pair("weights/w", "1")));
  box_->numberIs(4);
  box_->weightsIs("w", 5U);
  box_->stepsIs(2, "zwei");
  EXPECT_EQ(box_->index().at("number/value"), "4");
  EXPECT_EQ(box_->index().at("weights/w"), "5");
  EXPECT_EQ(box_->index().at("steps/2"), "zwei");
  box_->namesDel("n");
  box_->weightsDelAll();
  box_->stepsDel(2);
  box_->leavesDelAll();
  box_->sortedLeavesDel("s");
  EXPECT_THAT(box_->index(), ElementsAre(Pair("number/value", "4")));
}

TEST_F(IndexTest, indexIsAskedOnceForAChangeAndNotForAnEqualEntry) {
  writeAll();
  box_->refusedKeyIs("w");
  EXPECT_NO_THROW(box_->weightsIs("w", 1U));
  box_->refusedKeyIs("value");
  EXPECT_NO_THROW(box_->numberIs(3));
  box_->refusedKeyIs("n");
  EXPECT_EQ(*box_->namesIs("n"), "n");
  box_->refusedKeyIs("l");
  EXPECT_NO_THROW(box_->leavesIs("l"));
}

TEST_F(IndexTest, additionThatTheIndexRefusesDoesNotHappen) {
  box_->refusedKeyIs("x");
  const TestSupport::Recorder recorder(*box_);
  EXPECT_THROW(box_->namesIs("x"), Pith::RangeException);
  EXPECT_THROW(box_->weightsIs("x", 1U), Pith::RangeException);
  EXPECT_THROW(box_->leavesIs("x"), Pith::RangeException);
  EXPECT_THROW(box_->sortedLeavesIs("x"), Pith::RangeException);
  EXPECT_TRUE(box_->names().empty());
  EXPECT_TRUE(box_->weights().empty());
  EXPECT_TRUE(box_->leaves().empty());
  EXPECT_TRUE(box_->sortedLeaves().empty());
  EXPECT_THAT(recorder.told(), IsEmpty());
  EXPECT_THAT(box_->index(), IsEmpty());
}

TEST_F(IndexTest, changeThatTheIndexRefusesDoesNotHappen) {
  box_->weightsIs("w", 1U);
  box_->refusedKeyIs("w");
  const TestSupport::Recorder recorder(*box_);
  EXPECT_THROW(box_->weightsIs("w", 2U), Pith::RangeException);
  EXPECT_EQ(*box_->weights("w"), 1U);
  box_->refusedKeyIs("value");
  EXPECT_THROW(box_->numberIs(2), Pith::RangeException);
  EXPECT_EQ(box_->number(), 0U);
  EXPECT_THAT(recorder.told(), IsEmpty());
}

TEST_F(IndexTest, indexIsRightAlreadyWhenTheSubscribersAreTold) {
  std::vector<std::size_t> sizes;
  const TestSupport::Recorder recorder(*box_, [&](const TestSupport::Recorder::Notice& /*notice*/) {
    sizes.push_back(box_->index().size());
  });
  box_->weightsIs("a", 1U);
  box_->weightsIs("b", 1U);
  box_->weightsDel("a");
  box_->numberIs(1);
  EXPECT_THAT(sizes, ElementsAre(1U, 2U, 1U, 2U));
}

}  // namespace
