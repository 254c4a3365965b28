// How reactors come and go.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "tests/framework/Kiv/ReactorFixture.h"

namespace {

using KivTest::ParentSm;
using KivTest::PlainSm;
using KivTest::Witness;
using testing::ElementsAre;
using testing::IsEmpty;

class ReactorLifeTest : public KivTest::ReactorFixture {};

// Destruction.

TEST_F(ReactorLifeTest, destructionIsInItsOrder) {
  makeFamily();
  parent_->witnessIs(Pith::Ptr<Witness>::adopt(new Witness("members")));
  parent_->kivDoZombieReactors(true);
  ParentSm* const parent = parent_.get();
  std::vector<std::string> seen;
  const auto look = [&](const std::string& step) {
    seen.push_back(step);
    if (parent->isZombie()) seen.emplace_back("  a zombie");
    if (parent->hasNotificationActive()) seen.emplace_back("  active");
    if (input_->publisher().subscriberCount() > 0) seen.emplace_back("  subscribed");
    if (leaf_->publisher().subscriberCount() > 0) seen.emplace_back("  nested subscribed");
    if (!parent->childSm().empty()) seen.emplace_back("  has children");
    if (output_->useCount() > 1) seen.emplace_back("  holds its references");
  };
  const auto lookAt = [&](const std::string& step) {
    script_.actions[step] = [&look, step] { look(step); };
  };
  for (const char* step : {"parent cleanup", "child a destroyed", "child only destroyed",
                           "leaf destroyed", "parent destroyed", "members released"}) {
    lookAt(step);
  }
  parent_ = nullptr;
  EXPECT_THAT(seen, ElementsAre("parent cleanup", "  has children", "  holds its references",
                                "child a destroyed", "  holds its references",     //
                                "child only destroyed", "  holds its references",  //
                                "leaf destroyed", "  holds its references",        //
                                "parent destroyed", "  holds its references",      //
                                "members released", "  holds its references"));
  EXPECT_EQ(output_->useCount(), 1U);
}

TEST_F(ReactorLifeTest, cleanupRunsOnDestructionOnlyWhereTheClassAsksForIt) {
  makeParent();
  auto plain = PlainSm::PlainSmIs(input_, nullptr);
  script_.log.clear();
  parent_ = nullptr;
  plain = nullptr;
  EXPECT_THAT(script_.log, ElementsAre("parent cleanup", "parent destroyed"));
}

TEST_F(ReactorLifeTest, cleanupIsNotToldOfWhatItWrites) {
  makeFamily();
  script_.actions["parent cleanup"] = [&] {
    input_->numberIs(1);
    leaf_->numberIs(1);
  };
  script_.log.clear();
  parent_ = nullptr;
  EXPECT_THAT(script_.log,
              ElementsAre("parent cleanup", "child a destroyed", "child only destroyed",
                          "leaf destroyed", "parent destroyed"));
}

TEST_F(ReactorLifeTest, exceptionInTheCleanupKeepsNothingFromGoing) {
  makeFamily();
  script_.actions["parent cleanup"] = [] { throw std::runtime_error("from a subscriber"); };
  EXPECT_NO_THROW(parent_ = nullptr);
  EXPECT_EQ(script_.log.back(), "parent destroyed");
}

TEST_F(ReactorLifeTest, referencesToItMayComeAndGoDuringTheCleanup) {
  makeParent();
  ParentSm* const parent = parent_.get();
  script_.actions["parent cleanup"] = [&] { const Pith::Ptr<ParentSm> self(parent); };
  script_.log.clear();
  parent_ = nullptr;
  EXPECT_THAT(script_.log, ElementsAre("parent cleanup", "parent destroyed"));
}

// Failing construction.

TEST_F(ReactorLifeTest, startThatThrowsTakesTheReactorDownAgain) {
  script_.actions["parent starts"] = [&] { throw std::runtime_error("no"); };
  EXPECT_THROW(makeParent(), std::runtime_error);
  EXPECT_THAT(script_.log, ElementsAre("parent starts", "parent cleanup", "parent destroyed"));
  EXPECT_EQ(input_->publisher().subscriberCount(), 0U);
  EXPECT_EQ(second_->publisher().subscriberCount(), 0U);
  EXPECT_EQ(output_->useCount(), 1U);
}

TEST_F(ReactorLifeTest, reactorWhoseStartThrewIsNotToldOfWhatItsCleanupWrites) {
  script_.actions["parent starts"] = [&] { throw std::runtime_error("no"); };
  script_.actions["parent cleanup"] = [&] { input_->numberIs(1); };
  EXPECT_THROW(makeParent(), std::runtime_error);
  EXPECT_THAT(script_.log, ElementsAre("parent starts", "parent cleanup", "parent destroyed"));
}

TEST_F(ReactorLifeTest, childWhoseStartThrowsIsNotThere) {
  makeParent();
  script_.actions["child a starts"] = [] { throw std::runtime_error("no"); };
  EXPECT_THROW(parent_->childSmIs("a", input_, output_), std::runtime_error);
  EXPECT_FALSE(parent_->childSmHas("a"));
  script_.actions["child only starts"] = [] { throw std::runtime_error("no"); };
  EXPECT_THROW(parent_->onlySmIs(input_, output_), std::runtime_error);
  EXPECT_EQ(parent_->onlySm(), nullptr);
  EXPECT_EQ(input_->publisher().subscriberCount(), 1U);  // the parent
  script_.actions.clear();
  EXPECT_NO_THROW(parent_->childSmIs("a", input_, output_));
}

TEST_F(ReactorLifeTest, nestedReactorWhoseHandlerThrowsIsThereAndFollowsTheNextChange) {
  makeParent();
  script_.actions["leaf leaf watched"] = [] { throw std::runtime_error("no"); };
  EXPECT_THROW(parent_->leafSmIs(leaf_), std::runtime_error);
  EXPECT_TRUE(parent_->leafSmHas("leaf"));
  script_.log.clear();
  leaf_->numberIs(1);
  EXPECT_THAT(script_.log, ElementsAre("leaf leaf is 1"));
}

// A factory.

TEST_F(ReactorLifeTest, factoryTakesTheAttributesInOrderOrByTheirNames) {
  const auto inOrder = KivTest::childSmFactory("a", input_, output_, nullptr);
  EXPECT_EQ(inOrder->attributes().name, "a");
  EXPECT_EQ(inOrder->attributes().input, input_);
  EXPECT_EQ(inOrder->attributes().output, output_);
  EXPECT_TRUE(inOrder->hasNotificationActive());
  const auto byName = KivTest::childSmFactory(
      {.name = "b", .input = nullptr, .output = output_, .parentSm = nullptr});
  EXPECT_EQ(byName->attributes().name, "b");
  EXPECT_EQ(byName->attributes().input, nullptr);
  EXPECT_EQ(byName->attributes().output, output_);
  EXPECT_TRUE(byName->hasNotificationActive());
}

TEST_F(ReactorLifeTest, factoryRaisesWhatTheStartRaises) {
  script_.actions["child a starts"] = [] { throw std::runtime_error("no"); };
  EXPECT_THROW(KivTest::childSmFactory("a", input_, output_, nullptr), std::runtime_error);
  EXPECT_EQ(input_->publisher().subscriberCount(), 0U);
}

TEST_F(ReactorLifeTest, constructorThatThrowsLeavesNeitherSubscriptionsNorReferences) {
  script_.actions["plain constructed"] = [] { throw std::runtime_error("no"); };
  const auto witness = Pith::Ptr<Witness>::adopt(new Witness("attributes"));
  EXPECT_THROW(PlainSm::PlainSmIs(input_, witness), std::runtime_error);
  EXPECT_EQ(input_->publisher().subscriberCount(), 0U);
  EXPECT_EQ(input_->useCount(), 1U);
  EXPECT_EQ(witness->useCount(), 1U);
}

// Dropped while a handler runs.

TEST_F(ReactorLifeTest, childDroppedInItsOwnHandlerLivesUntilTheHandlerReturns) {
  makeFamily();
  script_.actions["child a told"] = [&] {
    parent_->childSmDel("a");
    script_.step("handler goes on");
  };
  script_.log.clear();
  input_->numberIs(1);
  EXPECT_THAT(script_.log, ElementsAre("parent told 1", "child a told", "handler goes on",
                                       "child a destroyed", "child only told"));
}

TEST_F(ReactorLifeTest, ownersOfAReactorLiveWhileItsHandlerRuns) {
  makeFamily();
  script_.actions["child a told"] = [&] {
    parent_ = nullptr;
    script_.step("handler goes on");
  };
  script_.log.clear();
  input_->numberIs(1);
  EXPECT_THAT(script_.log,
              ElementsAre("parent told 1", "child a told", "handler goes on", "parent cleanup",
                          "child a destroyed", "child only destroyed", "leaf destroyed",
                          "parent destroyed"));
}

TEST_F(ReactorLifeTest, childDroppedWithItsOwnerInItsHandlerGoesBeforeTheOwner) {
  makeFamily();
  script_.actions["child a told"] = [&] {
    parent_->childSmDel("a");
    parent_ = nullptr;
  };
  script_.log.clear();
  input_->numberIs(1);
  EXPECT_THAT(script_.log,
              ElementsAre("parent told 1", "child a told", "child a destroyed", "parent cleanup",
                          "child only destroyed", "leaf destroyed", "parent destroyed"));
}

TEST_F(ReactorLifeTest, nestedReactorAndItsOwnersLiveWhileItsHandlerRuns) {
  makeFamily();
  script_.actions["leaf leaf is 1"] = [&] {
    parent_->leafSmDel("leaf");
    parent_ = nullptr;
    script_.step("handler goes on");
  };
  script_.log.clear();
  leaf_->numberIs(1);
  EXPECT_THAT(script_.log,
              ElementsAre("leaf leaf is 1", "handler goes on", "leaf destroyed", "parent cleanup",
                          "child a destroyed", "child only destroyed", "parent destroyed"));
}

TEST_F(ReactorLifeTest, nestedReactorDroppedWhileItHandlesItsNotifierLivesUntilItReturns) {
  makeParent();
  parent_->leafSmIs(leaf_);
  const auto other = Kiv::make<KivTest::Leaf>("other");
  KivTest::LeafSm* const nested = parent_->leafSm("leaf").get();
  script_.actions["leaf other watched"] = [&] {
    parent_->leafSmDel("leaf");
    script_.step("handler goes on");
  };
  script_.log.clear();
  nested->notifierIs(other);
  EXPECT_THAT(script_.log, ElementsAre("leaf other watched", "handler goes on", "leaf destroyed"));
}

TEST_F(ReactorLifeTest, ownerDroppedInItsOwnHandlerLivesUntilTheHandlerReturns) {
  makeFamily();
  script_.actions["parent told 1"] = [&] {
    parent_ = nullptr;
    script_.step("handler goes on");
  };
  script_.log.clear();
  input_->numberIs(1);
  EXPECT_THAT(script_.log,
              ElementsAre("parent told 1", "handler goes on", "parent cleanup", "child a destroyed",
                          "child only destroyed", "leaf destroyed", "parent destroyed"));
}

TEST_F(ReactorLifeTest, exceptionOfAHandlerReachesTheWriterAndTheReactorStays) {
  makeFamily();
  script_.actions["child a told"] = [] { throw std::runtime_error("from a handler"); };
  EXPECT_THROW(input_->numberIs(1), std::runtime_error);
  script_.actions.clear();
  script_.log.clear();
  input_->numberIs(2);
  EXPECT_THAT(script_.log, ElementsAre("parent told 2", "child a told", "child only told"));
  EXPECT_EQ(parent_->useCount(), 1U);
}

TEST_F(ReactorLifeTest, inputThatIsDroppedByItsOwnerStaysWhileAReactorReadsIt) {
  makeParent();
  input_ = nullptr;
  EXPECT_EQ(parent_->attributes().input->useCount(), 2U);  // the attribute and the subscription
}

}  // namespace
