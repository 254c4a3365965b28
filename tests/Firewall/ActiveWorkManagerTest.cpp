// Work in flux: handles, the count and HwConfig.updateInProgress.
#include "Firewall/ActiveWorkManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <utility>

#include "framework/Kiv/Text.h"
#include "framework/Pith/Publisher.h"
#include "tests/support/TraceCapture.h"
#include "tests/support/TracesAndWrites.h"
#include "tests/support/WriteRecorder.h"

namespace {

using Firewall::ActiveWorkManager;
using Handle = ActiveWorkManager::Handle;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class ActiveWorkManagerTest : public ::testing::Test {
 protected:
  Firewall::HwConfig::Ptr hwConfig = Kiv::make<Firewall::HwConfig>();
  TestSupport::WriteRecorder recorder{hwConfig};
  ActiveWorkManager::Ptr manager = Firewall::activeWorkManagerFactory(hwConfig);
};

TEST_F(ActiveWorkManagerTest, NewManagerHasNoOpenHandleAndWritesNothing) {
  EXPECT_EQ(manager->activeHandles(), 0U);
  EXPECT_FALSE(hwConfig->updateInProgress());
  EXPECT_THAT(recorder.take(), IsEmpty());
}

TEST_F(ActiveWorkManagerTest, FlagFallsOnlyWithTheLastOfTwoHandles) {
  Handle first(manager);
  Handle second(manager);
  EXPECT_EQ(manager->activeHandles(), 2U);
  EXPECT_TRUE(hwConfig->updateInProgress());
  first.close();
  EXPECT_TRUE(hwConfig->updateInProgress());
  second.close();
  EXPECT_FALSE(hwConfig->updateInProgress());
  EXPECT_THAT(recorder.take(),
              ElementsAre("~ updateInProgress = true", "~ updateInProgress = false"));
}

TEST_F(ActiveWorkManagerTest, HandleWithoutManagerChangesNothing) {
  const TestSupport::TraceCapture traces;
  Handle handle(nullptr);
  Handle none;
  none.handleInitialized();
  handle.handleDestroyed();
  none.handleDestroyed();
  EXPECT_EQ(manager->activeHandles(), 0U);
  EXPECT_THAT(recorder.take(), IsEmpty());
  EXPECT_THAT(traces.records(), IsEmpty());
}

TEST_F(ActiveWorkManagerTest, FlagLoweredFromOutsideIsRaisedByTheNextHandle) {
  Handle first(manager);
  hwConfig->updateInProgressIs(false);
  Handle second(manager);
  EXPECT_TRUE(hwConfig->updateInProgress());
  first.close();
  EXPECT_TRUE(hwConfig->updateInProgress());
  second.close();
  EXPECT_FALSE(hwConfig->updateInProgress());
}

TEST_F(ActiveWorkManagerTest, FlagRaisedFromOutsideIsNotWrittenAgainButLoweredAtTheEnd) {
  hwConfig->updateInProgressIs(true);
  recorder.take();
  { const Handle handle(manager); }
  EXPECT_THAT(recorder.take(), ElementsAre("~ updateInProgress = false"));
}

TEST_F(ActiveWorkManagerTest, FlagIsLoweredAtTheEndWhoeverRaisedItMeanwhile) {
  Handle first(manager);
  hwConfig->updateInProgressIs(false);
  hwConfig->updateInProgressIs(true);
  recorder.take();
  first.close();
  EXPECT_THAT(recorder.take(), ElementsAre("~ updateInProgress = false"));
}

TEST_F(ActiveWorkManagerTest, EndOfTheWorkIsTracedThoughTheFlagWasLoweredBefore) {
  Handle handle(manager);
  hwConfig->updateInProgressIs(false);
  const TestSupport::TraceCapture traces(6);
  handle.close();
  EXPECT_THAT(traces.texts(), ElementsAre("set updateInProgress to false"));
}

TEST_F(ActiveWorkManagerTest, RaisedFlagIsTracedOnlyByWhoWritesIt) {
  hwConfig->updateInProgressIs(true);
  const TestSupport::TraceCapture traces(6);
  const Handle handle(manager);
  EXPECT_THAT(traces.records(), IsEmpty());
}

TEST_F(ActiveWorkManagerTest, FlagIsTracedOnceItIsWritten) {
  const TestSupport::TracesAndWrites events(recorder);
  { const Handle handle(manager); }
  EXPECT_THAT(
      events.events(),
      ElementsAre("8 [Handle] Active work handles 1", "~ updateInProgress = true",
                  "6 [Handle] set updateInProgress to true", "8 [Handle] Active work handles 0",
                  "~ updateInProgress = false", "6 [Handle] set updateInProgress to false"));
}

TEST_F(ActiveWorkManagerTest, ClosedHandleIsEmptyAndDoesNotCountAgain) {
  Handle outer(manager);
  {
    Handle handle(manager);
    handle.close();
    EXPECT_EQ(handle.manager(), nullptr);
    EXPECT_EQ(manager->activeHandles(), 1U);
    handle.close();
    handle.handleDestroyed();
  }
  EXPECT_EQ(manager->activeHandles(), 1U);
}

TEST_F(ActiveWorkManagerTest, StepsThatAreTakenByHandPairBesideThoseOfTheHandleItself) {
  {
    Handle handle(manager);
    handle.handleInitialized();
    EXPECT_EQ(manager->activeHandles(), 2U);
    handle.handleDestroyed();
    EXPECT_EQ(manager->activeHandles(), 1U);
    EXPECT_TRUE(hwConfig->updateInProgress());
  }
  EXPECT_EQ(manager->activeHandles(), 0U);
  EXPECT_FALSE(hwConfig->updateInProgress());
}

TEST_F(ActiveWorkManagerTest, CloseWithoutAnOpenWrapsTheCountAndLeavesTheFlag) {
  Handle open(manager);
  {
    Handle handle(manager);
    handle.handleDestroyed();
    handle.handleDestroyed();  // that of `open`
    EXPECT_FALSE(hwConfig->updateInProgress());
    hwConfig->updateInProgressIs(true);
  }
  EXPECT_EQ(manager->activeHandles(), ~0U);
  EXPECT_TRUE(hwConfig->updateInProgress());
}

TEST_F(ActiveWorkManagerTest, CopyCountsForItselfAndMoveDoesNot) {
  Handle handle(manager);
  {
    const Handle copy = handle;  // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_EQ(manager->activeHandles(), 2U);
    EXPECT_TRUE(copy == handle);
  }
  EXPECT_EQ(manager->activeHandles(), 1U);
  {
    Handle moved = std::move(handle);
    EXPECT_EQ(manager->activeHandles(), 1U);
    Handle assigned;
    assigned = moved;
    EXPECT_EQ(manager->activeHandles(), 2U);
  }
  EXPECT_EQ(manager->activeHandles(), 0U);
  EXPECT_FALSE(hwConfig->updateInProgress());
}

TEST_F(ActiveWorkManagerTest, HandlesAreEqualWhenTheirManagersAre) {
  const auto other = Firewall::activeWorkManagerFactory(hwConfig);
  EXPECT_TRUE(Handle(manager) == Handle(manager));
  EXPECT_FALSE(Handle(manager) == Handle(other));
  EXPECT_FALSE(Handle(manager) == Handle());
  EXPECT_TRUE(Handle() == Handle());
}

TEST_F(ActiveWorkManagerTest, HandleLeftByAnExceptionCloses) {
  try {
    const Handle handle(manager);
    throw std::runtime_error("left");
  } catch (const std::runtime_error&) {
    EXPECT_EQ(manager->activeHandles(), 0U);
  }
  EXPECT_FALSE(hwConfig->updateInProgress());
}

struct Thrower {
  static void dispatch(void* self, Pith::Publisher*, Pith::Subscriber*, Pith::FieldId field,
                       const void*, const Pith::Change*) {
    auto* const thrower = static_cast<Thrower*>(self);
    if (thrower->on && field == Firewall::HwConfig::updateInProgressField) {
      throw std::runtime_error("refused");
    }
  }
  bool on = true;
};

TEST_F(ActiveWorkManagerTest, SubscriberThatThrowsLeavesNoOpenHandle) {
  Thrower thrower;
  Pith::Subscriber subscriber(&thrower, &Thrower::dispatch);
  hwConfig->publisher().subscriberAdd(subscriber);
  EXPECT_THROW(Handle{manager}, std::runtime_error);
  EXPECT_EQ(manager->activeHandles(), 0U);
  thrower.on = false;
  Handle handle(manager);
  thrower.on = true;
  EXPECT_THROW(handle.handleDestroyed(), std::runtime_error);
  EXPECT_EQ(manager->activeHandles(), 0U);
  EXPECT_FALSE(hwConfig->updateInProgress());
}

TEST_F(ActiveWorkManagerTest, TextFormRoundTrips) {
  Handle handle(manager);
  const std::string text = Kiv::valueToStrep(handle);
  EXPECT_THAT(text, HasSubstr("Firewall::ActiveWorkManager@"));
  {
    const Handle read = Kiv::strepToValue<Handle>(text);
    EXPECT_TRUE(read == handle);
    EXPECT_EQ(manager->activeHandles(), 2U);
  }
  EXPECT_EQ(manager->activeHandles(), 1U);
  EXPECT_EQ(Kiv::valueToStrep(Handle()), "");
  EXPECT_TRUE(Kiv::strepToValue<Handle>(std::string_view()) == Handle());
}

TEST_F(ActiveWorkManagerTest, MalformedTextNamesTheAttribute) {
  const std::string text = Kiv::valueToStrep(Handle(manager));
  for (const std::string& bad : {text + " ", text + "/more", std::string("/Firewall::HwConfig@999"),
                                 std::string("x"), std::string("/Firewall::ActiveWorkManager@")}) {
    Kiv::CharRange range(bad);
    try {
      const Handle handle(range);
      ADD_FAILURE() << "accepted \"" << bad << '"';
    } catch (const Kiv::DeserializationError& error) {
      EXPECT_THAT(error.what(), HasSubstr("\"manager\"")) << bad;
    }
  }
  EXPECT_EQ(manager->activeHandles(), 0U);
  const std::string gone = text;
  manager = nullptr;
  Kiv::CharRange range(gone);
  EXPECT_THROW(Handle{range}, Kiv::DeserializationError);
}

TEST_F(ActiveWorkManagerTest, TracesTheCountAndTheFlag) {
  const TestSupport::TraceCapture traces(8);
  {
    Handle first(manager);
    Handle second(manager);
  }
  const std::string facility = "Firewall/FirewallConfigSm";
  EXPECT_THAT(
      traces.records(),
      ElementsAre(
          TestSupport::TraceRecord{facility, 8, "Handle", "Active work handles 1"},
          TestSupport::TraceRecord{facility, 6, "Handle", "set updateInProgress to true"},
          TestSupport::TraceRecord{facility, 8, "Handle", "Active work handles 2"},
          TestSupport::TraceRecord{facility, 8, "Handle", "Active work handles 1"},
          TestSupport::TraceRecord{facility, 8, "Handle", "Active work handles 0"},
          TestSupport::TraceRecord{facility, 6, "Handle", "set updateInProgress to false"}));
}

}  // namespace
