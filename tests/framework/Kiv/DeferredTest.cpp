#include "framework/Kiv/Deferred.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

TEST(DeferredTest, everyStepIsDoneAndTheFirstExceptionRaised) {
  int done = 0;
  Kiv::Deferred steps;
  steps.run([&] { ++done; });
  steps.run([&] { throw std::runtime_error("first"); });
  steps.run([&] { ++done; });
  steps.run([&] { throw std::logic_error("second"); });
  EXPECT_EQ(done, 2);
  try {
    steps.rethrow();
    FAIL() << "nothing was thrown";
  } catch (const std::exception& error) {
    EXPECT_STREQ(error.what(), "first");
  }
}

TEST(DeferredTest, nothingIsRaisedWhereNothingWasThrownOrItWasRaisedAlready) {
  Kiv::Deferred steps;
  EXPECT_NO_THROW(steps.rethrow());
  steps.run([] { throw std::runtime_error("once"); });
  EXPECT_THROW(steps.rethrow(), std::runtime_error);
  EXPECT_NO_THROW(steps.rethrow());
}

}  // namespace
