#include "framework/Pith/Assert.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace {

TEST(AssertDeathTest, failureShowsTheExpression) {
  const int count = 0;
  EXPECT_DEATH(PITH_ASSERT(count > 0),
               "assertion failed: count > 0 \\(.*AssertTest\\.cpp:[0-9]+\\)");
}

TEST(AssertDeathTest, failureShowsTheGivenText) {
  EXPECT_DEATH(PITH_ASSERT_TEXT(false, "segDir && \"SegmentDir not found\""),
               "assertion failed: segDir && \"SegmentDir not found\"");
}

TEST(AssertDeathTest, lastWordsAreSpokenOnceBeforeTheEnd) {
  const auto speak = []() noexcept { std::fputs("last words\n", stderr); };
  EXPECT_DEATH(
      {
        Pith::lastWordsAdd(speak);
        Pith::lastWordsAdd(speak);
        PITH_ASSERT(false);
      },
      "assertion failed: false[^\n]*\nlast words\n$");
}

TEST(AssertTest, holdingConditionIsEvaluatedOnceAndContinues) {
  int evaluations = 0;
  PITH_ASSERT(++evaluations == 1);
  EXPECT_EQ(evaluations, 1);
}

}  // namespace
