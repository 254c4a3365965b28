// Reactors while they live: subscriptions, children, suppression. How they come and go is in
// ReactorLifeTest.cpp.
#include "framework/Kiv/Reactor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "framework/Kiv/Errors.h"
#include "framework/Kiv/Inspector.h"
#include "framework/Pith/RangeException.h"
#include "tests/framework/Kiv/ReactorFixture.h"
#include "tests/support/Recorder.h"

namespace {

using KivTest::Box;
using KivTest::ChildSm;
using KivTest::Leaf;
using KivTest::LeafSm;
using KivTest::ParentSm;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;

class ReactorTest : public KivTest::ReactorFixture {
 protected:
  template <class Ask>
  static std::string errorOf(const Ask& ask) {
    try {
      ask();
    } catch (const Kiv::ReinstantiationError& error) {
      return error.what();
    }
    return "no error";
  }
};

// Subscriptions.

TEST_F(ReactorTest, creationStartsTheReactorAndSwitchesItsNotificationsOn) {
  bool wasActive = true;
  script_.actions["parent starts"] = [&] {
    wasActive = input_->publisher().subscriberCount() == 0;
  };
  makeParent();
  EXPECT_FALSE(wasActive);  // the subscriptions were on already
  EXPECT_TRUE(parent_->hasNotificationActive());
  EXPECT_EQ(parent_->useCount(), 1U);
}

TEST_F(ReactorTest, changeOfAnInputReachesItsDispatchFunction) {
  makeParent();
  script_.log.clear();
  input_->numberIs(7);
  input_->namesIs("x");
  input_->flagIs(true);  // nothing that the reactor reacts to
  second_->numberIs(1);
  EXPECT_THAT(script_.log,
              ElementsAre("parent told 7", "parent told of x", "parent told by second"));
}

TEST_F(ReactorTest, changeMadeWhileTheReactorStartsReachesIt) {
  script_.actions["parent starts"] = [&] { input_->numberIs(1); };
  makeParent();
  EXPECT_THAT(script_.log, ElementsAre("parent starts", "parent told 1"));
}

TEST_F(ReactorTest, inputThatIsNullIsNotSubscribedTo) {
  second_ = nullptr;
  makeParent();
  input_->numberIs(7);
  EXPECT_THAT(script_.log, ElementsAre("parent starts", "parent told 7"));
  parent_->hasNotificationActiveIs(false);
  parent_->hasNotificationActiveIs(true);
}

TEST_F(ReactorTest, notificationsAreSwitchedOffAndOnForTheReactorAndAllBelow) {
  makeFamily();
  const auto changeAll = [&] {
    script_.log.clear();
    input_->numberIs(input_->number() + 1);
    leaf_->numberIs(leaf_->number() + 1);
    return script_.log.size();
  };
  EXPECT_EQ(changeAll(), 4U);  // parent, child a, only, leaf
  parent_->hasNotificationActiveIs(false);
  EXPECT_FALSE(parent_->hasNotificationActive());
  EXPECT_FALSE(parent_->childSm("a")->hasNotificationActive());
  EXPECT_FALSE(parent_->onlySm()->hasNotificationActive());
  EXPECT_FALSE(parent_->leafSm("leaf")->hasNotificationActive());
  EXPECT_EQ(changeAll(), 0U);
  EXPECT_EQ(input_->publisher().subscriberCount(), 0U);
  EXPECT_EQ(leaf_->publisher().subscriberCount(), 0U);
  parent_->hasNotificationActiveIs(true);
  EXPECT_TRUE(parent_->leafSm("leaf")->hasNotificationActive());
  EXPECT_EQ(changeAll(), 4U);
}

TEST_F(ReactorTest, switchingToTheSameStateChangesNothing) {
  makeFamily();
  parent_->childSm("a")->hasNotificationActiveIs(false);
  parent_->hasNotificationActiveIs(true);  // it is on already: the child stays off
  script_.log.clear();
  input_->numberIs(1);
  EXPECT_THAT(script_.log, ElementsAre("parent told 1", "child only told"));
}

// Children under a key.

TEST_F(ReactorTest, childIsMadeOnceAndReturnedWhenItIsAskedForAgain) {
  makeParent();
  const auto child = parent_->childSmIs("a", input_, output_);
  EXPECT_EQ(child->parent(), parent_.get());
  EXPECT_TRUE(child->hasNotificationActive());
  EXPECT_EQ(parent_->childSmIs("a", input_, output_), child);
  EXPECT_EQ(parent_->childSm("a"), child);
  EXPECT_TRUE(parent_->childSmHas("a"));
  EXPECT_EQ(parent_->childSm().size(), 1U);
  EXPECT_NE(parent_->childSmIs("b", input_, output_), child);
  EXPECT_EQ(parent_->childSm("c"), nullptr);
}

TEST_F(ReactorTest, everyReferenceThatDiffersIsAReinstantiationErrorThatNamesIt) {
  makeParent();
  const auto child = parent_->childSmIs("a", input_, output_);
  const auto other = Kiv::make<Box>();
  EXPECT_THAT(errorOf([&] { parent_->childSmIs("a", other, output_); }),
              HasSubstr("KivTest::ChildSm::input "));
  EXPECT_THAT(errorOf([&] { parent_->childSmIs("a", nullptr, output_); }),
              HasSubstr("KivTest::ChildSm::input "));
  EXPECT_THAT(errorOf([&] { parent_->childSmIs("a", input_, other); }),
              HasSubstr("KivTest::ChildSm::output "));
  EXPECT_THAT(errorOf([&] {
                parent_->childSmIs({"a", input_, output_, nullptr});
              }),
              HasSubstr("KivTest::ChildSm::parentSm "));
  EXPECT_EQ(parent_->childSm("a"), child);
  EXPECT_EQ(parent_->childSm().size(), 1U);
}

TEST_F(ReactorTest, removedChildIsSwitchedOffAndDestroyedWithItsLastReference) {
  makeParent();
  auto child = parent_->childSmIs("a", input_, output_);
  script_.log.clear();
  parent_->childSmDel("a");
  EXPECT_FALSE(parent_->childSmHas("a"));
  EXPECT_FALSE(child->hasNotificationActive());
  EXPECT_EQ(static_cast<Kiv::Object&>(*child).parent(), nullptr);
  input_->textIs("x");
  EXPECT_THAT(script_.log, IsEmpty());
  child = nullptr;
  EXPECT_THAT(script_.log, ElementsAre("child a destroyed"));
  parent_->childSmDel("a");
}

TEST_F(ReactorTest, removalOfAllTakesThemInTheirOrder) {
  makeParent();
  for (const char* name : {"b", "a", "c"}) parent_->childSmIs(name, input_, output_);
  script_.log.clear();
  parent_->childSmDelAll();
  EXPECT_TRUE(parent_->childSm().empty());
  EXPECT_THAT(script_.log,
              ElementsAre("child b destroyed", "child a destroyed", "child c destroyed"));
}

TEST_F(ReactorTest, walkOverTheChildrenSurvivesTheirRemovalAndAddition) {
  makeParent();
  for (const char* name : {"a", "b", "c"}) parent_->childSmIs(name, input_, output_);
  std::vector<std::string> visited;
  for (auto child : parent_->childSm()) {
    visited.emplace_back(child->childName().view());
    parent_->childSmDel(child->childName());
    if (visited.size() > 1) continue;
    parent_->childSmDel("b");
    parent_->childSmIs("d", input_, output_);
    parent_->childSmIs("b", input_, output_);
  }
  EXPECT_THAT(visited, ElementsAre("a", "c", "d", "b"));
  EXPECT_TRUE(parent_->childSm().empty());
}

TEST_F(ReactorTest, childMadeAgainUnderTheSameKeyMayHaveOtherReferences) {
  makeParent();
  parent_->childSmIs("a", input_, output_);
  parent_->childSmDel("a");
  const auto other = Kiv::make<Box>();
  parent_->childSmIs("a", other, output_);
  script_.log.clear();
  input_->textIs("x");
  EXPECT_THAT(script_.log, IsEmpty());
  other->textIs("x");
  EXPECT_THAT(script_.log, ElementsAre("child a told of text"));
}

TEST_F(ReactorTest, childThatItsOwnStartMadesTheOwnerAskForIsThereOnce) {
  makeParent();
  script_.actions["child a starts"] = [&] {
    script_.actions.clear();
    parent_->childSmIs("a", input_, output_);
    parent_->onlySmIs(input_, output_);
  };
  const auto child = parent_->childSmIs("a", input_, output_);
  EXPECT_EQ(parent_->childSm("a"), child);
  script_.actions["child only starts"] = [&] {
    script_.actions.clear();
    parent_->onlySmIs(input_, output_);
  };
  parent_->onlySmDel();
  const auto only = parent_->onlySmIs(input_, output_);
  EXPECT_EQ(parent_->onlySm(), only);
  script_.log.clear();
  input_->textIs("x");
  EXPECT_THAT(script_.log, ElementsAre("child a told of text", "child only told of text"));
}

// A single child.

TEST_F(ReactorTest, singleChildKeepsTheSameRules) {
  makeParent();
  EXPECT_EQ(parent_->onlySm(), nullptr);
  const auto child = parent_->onlySmIs(input_, output_);
  EXPECT_EQ(parent_->onlySm(), child);
  EXPECT_EQ(parent_->onlySmIs(input_, output_), child);
  const auto other = Kiv::make<Box>();
  EXPECT_THAT(errorOf([&] { parent_->onlySmIs(other, output_); }),
              HasSubstr("KivTest::ChildSm::input "));
  EXPECT_THAT(errorOf([&] { parent_->onlySmIs(input_, other); }),
              HasSubstr("KivTest::ChildSm::output "));
  EXPECT_EQ(parent_->onlySm(), child);
  parent_->onlySmDel();
  EXPECT_EQ(parent_->onlySm(), nullptr);
  EXPECT_FALSE(child->hasNotificationActive());
  EXPECT_NO_THROW(parent_->onlySmIs(other, output_));
}

// Nested reactors.

TEST_F(ReactorTest, nestedReactorHandlesItsNotifierThenItsAttributes) {
  makeParent();
  const auto nested = parent_->leafSmIs(leaf_);
  EXPECT_EQ(nested->notifier(), leaf_);
  EXPECT_EQ(&nested->owner(), parent_.get());
  EXPECT_EQ(parent_->leafSmIs(leaf_), nested);
  leaf_->numberIs(5);
  leaf_->nextIs(leaf_);
  leaf_->nextIs(nullptr);
  EXPECT_THAT(script_.log, ElementsAre("parent starts", "leaf leaf watched", "leaf leaf is 5"));
}

TEST_F(ReactorTest, nestedReactorForAnotherObjectOfTheSameNameIsAReinstantiationError) {
  makeParent();
  parent_->leafSmIs(leaf_);
  EXPECT_THAT(errorOf([&] { parent_->leafSmIs(Kiv::make<Leaf>("leaf")); }),
              HasSubstr("KivTest::LeafSm::notifier "));
}

TEST_F(ReactorTest, nestedReactorIsPointedAtAnotherObject) {
  makeParent();
  const auto nested = parent_->leafSmIs(leaf_);
  const auto other = Kiv::make<Leaf>("other");
  script_.log.clear();
  nested->notifierIs(other);
  leaf_->numberIs(1);
  other->numberIs(2);
  EXPECT_THAT(script_.log, ElementsAre("leaf other watched", "leaf other is 2"));
  script_.log.clear();
  nested->notifierIs(other);
  EXPECT_THAT(script_.log, IsEmpty());
  nested->notifierIs(leaf_);
}

TEST_F(ReactorTest, nestedReactorWatchesNothingWhenItIsGivenNothingOrAnotherType) {
  makeParent();
  const auto nested = parent_->leafSmIs(leaf_);
  script_.log.clear();
  nested->notifierIs(input_);
  EXPECT_EQ(nested->notifier(), nullptr);
  leaf_->numberIs(1);
  EXPECT_EQ(leaf_->publisher().subscriberCount(), 0U);
  nested->notifierIs(nullptr);
  EXPECT_THAT(script_.log, IsEmpty());
  nested->notifierIs(leaf_);
  EXPECT_THAT(script_.log, ElementsAre("leaf leaf watched"));
}

TEST_F(ReactorTest, nestedReactorStandsUnderItsKeyWhateverItWatches) {
  makeParent();
  const auto nested = parent_->leafSmIs(leaf_);
  for (const Pith::Ptr<const Leaf>& watched :
       {Pith::Ptr<const Leaf>(), Pith::Ptr<const Leaf>(Kiv::make<Leaf>("other"))}) {
    nested->notifierIs(watched);
    EXPECT_EQ(parent_->leafSm("leaf"), nested);
    EXPECT_FALSE(parent_->leafSmHas("other"));
    EXPECT_EQ(Kiv::objectAt(*parent_, "leafSm/leaf"), nested.get());
  }
  parent_->leafSmDel("leaf");
  EXPECT_FALSE(parent_->leafSmHas("leaf"));
}

TEST_F(ReactorTest, nestedReactorThatIsSwitchedOffIsPointedAtAnotherObjectWithoutAWord) {
  makeParent();
  const auto nested = parent_->leafSmIs(leaf_);
  const auto other = Kiv::make<Leaf>("other");
  nested->hasNotificationActiveIs(false);
  script_.log.clear();
  nested->notifierIs(other);
  other->numberIs(1);
  EXPECT_EQ(nested->notifier(), other);
  EXPECT_EQ(other->publisher().subscriberCount(), 0U);
  EXPECT_THAT(script_.log, IsEmpty());
  nested->hasNotificationActiveIs(true);
  other->numberIs(2);
  leaf_->numberIs(3);
  EXPECT_THAT(script_.log, ElementsAre("leaf other is 2"));
}

// Suppression.

TEST_F(ReactorTest, zombieIgnoresWhatItIsToldUntilItIsBroughtBack) {
  makeParent();
  const auto nested = parent_->leafSmIs(leaf_);
  EXPECT_FALSE(nested->isZombie());
  nested->kivDoZombieReactors(true);
  nested->kivDoZombieReactors(true);
  EXPECT_TRUE(nested->isZombie());
  EXPECT_TRUE(nested->markAndSweepFlag());
  script_.log.clear();
  leaf_->numberIs(1);
  nested->notifierIs(nullptr);
  nested->notifierIs(leaf_);
  EXPECT_THAT(script_.log, IsEmpty());
  nested->kivDoZombieReactors(false);
  EXPECT_FALSE(nested->isZombie());
  leaf_->numberIs(2);
  EXPECT_THAT(script_.log, ElementsAre("leaf leaf is 2"));
}

TEST_F(ReactorTest, dispatchFunctionOfAZombieIsCalledForTheUpkeepOfItsChildren) {
  makeParent();
  parent_->kivDoZombieReactors(true);
  script_.log.clear();
  input_->numberIs(1);
  EXPECT_THAT(script_.log, ElementsAre("parent told 1"));
}

// Type tables.

TEST_F(ReactorTest, typeTableListsTheConstructorAttributesThenTheChildren) {
  std::vector<std::string> names;
  for (const auto& each : ParentSm::staticTypeData().attributes) names.emplace_back(each.name);
  EXPECT_THAT(names, ElementsAre("input", "secondInput", "output", "childSm", "onlySm", "leafSm"));
  using Kind = Kiv::AttributeKind;
  const Kiv::TypeData& parent = ParentSm::staticTypeData();
  EXPECT_EQ(parent.name, "KivTest::ParentSm");
  EXPECT_EQ(parent.attribute("input")->kind, Kind::reference);
  EXPECT_EQ(parent.attribute("childSm")->kind, Kind::children);
  EXPECT_EQ(parent.attribute("onlySm")->kind, Kind::child);
  EXPECT_EQ(&parent.attribute("childSm")->childType(), &ChildSm::staticTypeData());
  EXPECT_EQ(&parent.attribute("leafSm")->childType(), &LeafSm::staticTypeData());
  const Kiv::TypeData& child = ChildSm::staticTypeData();
  EXPECT_EQ(child.attribute("name")->kind, Kind::value);
  EXPECT_EQ(child.attribute("name")->value->typeName, "Pith::String");
  EXPECT_EQ(child.attribute("parentSm")->kind, Kind::reference);
  EXPECT_EQ(LeafSm::staticTypeData().attribute("notifier")->kind, Kind::reference);
}

TEST_F(ReactorTest, reactorsAreInspectedButNotWritten) {
  makeFamily();
  const Kiv::Inspector inspector(*parent_);
  EXPECT_EQ(inspector.read("input"), Kiv::valueToStrep(input_));
  EXPECT_EQ(inspector.read("childSm/a/name"), "a");
  EXPECT_EQ(inspector.read("childSm/a/parentSm"), Kiv::valueToStrep(parent_));
  EXPECT_EQ(inspector.read("leafSm/leaf/notifier"), Kiv::valueToStrep(leaf_));
  EXPECT_EQ(inspector.find("onlySm"), parent_->onlySm().get());
  EXPECT_THROW(inspector.write("childSm/b", ""), Pith::RangeException);
  EXPECT_THROW(inspector.write("input", ""), Pith::RangeException);
  EXPECT_THROW(inspector.erase("childSm/a"), Pith::RangeException);
  EXPECT_EQ(TestSupport::dumpOf(*parent_).size(), 3U + 1 + 4 + 1 + 4 + 1 + 1);
}

TEST_F(ReactorTest, reactorIsReferredToByItsOwnNumberThoughItHasAnOwner) {
  makeFamily();
  const auto child = parent_->childSm("a");
  const std::string text = Kiv::valueToStrep(child);
  EXPECT_THAT(text, MatchesRegex("/KivTest::ChildSm@[0-9]+"));
  EXPECT_EQ(Kiv::strepToValue<Pith::Ptr<ChildSm>>(text), child);
}

}  // namespace
