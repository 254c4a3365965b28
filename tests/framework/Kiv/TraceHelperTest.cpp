#include "framework/Kiv/TraceHelper.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "framework/Pith/RangeException.h"
#include "framework/Twinlog/Twinlog.h"
#include "tests/support/TraceCapture.h"

namespace {

using Kiv::TraceHelper;
using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::TraceCapture;
using TestSupport::TraceRecord;

constinit Twinlog::Facility config("Test/Config");
constinit Twinlog::Facility configStatus("Test/ConfigStatus");
constinit Twinlog::Facility other("Other/Config");

constexpr Twinlog::Function fn("void Test::Subject::handle(int)");

// Puts sink and levels back whatever a test does to them.
class TraceHelperTest : public testing::Test {
 protected:
  TraceCapture traces_{Pith::traceOff};
};

TEST_F(TraceHelperTest, HandsTheSinkFacilityLevelFunctionAndText) {
  TraceHelper::levelIs("*", 9);
  TWINLOG(config, 4, fn, " two %s ", 2);
  EXPECT_THAT(traces_.records(), ElementsAre(TraceRecord{"Test/Config", 4, "handle", " two 2 "}));
}

TEST_F(TraceHelperTest, ShowsTheLevelAndThoseBelow) {
  TraceHelper::levelIs("Test/Config", 5);
  TWINLOG(config, 0, fn, "0");
  TWINLOG(config, 5, fn, "5");
  TWINLOG(config, 6, fn, "6");
  TWINLOG(config, 9, fn, "9");
  EXPECT_THAT(traces_.texts(), ElementsAre("0", "5"));
}

TEST_F(TraceHelperTest, ShowsNothingOfAFacilityThatIsOff) {
  TraceHelper::levelIs("*", 9);
  TraceHelper::levelIs("Test/Config", Pith::traceOff);
  TWINLOG(config, 0, fn, "off");
  TWINLOG(other, 9, fn, "on");
  EXPECT_THAT(traces_.texts(), ElementsAre("on"));
}

TEST_F(TraceHelperTest, ShowsLevelZeroWhereNothingIsSet) {
  Pith::TraceControl::settingsAre(Pith::TraceConsumer::helper, {});
  EXPECT_EQ(TraceHelper::level("Test/Config"), 0);
  TWINLOG(config, 0, fn, "0");
  TWINLOG(config, 1, fn, "1");
  EXPECT_THAT(traces_.texts(), ElementsAre("0"));
}

TEST_F(TraceHelperTest, PrefersAWholeNameThenTheLongestPattern) {
  TraceHelper::levelIs("Test/Config", 1);
  TraceHelper::levelIs("Test/Conf*", 2);
  TraceHelper::levelIs("Test/*", 3);
  TraceHelper::levelIs("*", 4);
  EXPECT_EQ(TraceHelper::level("Test/Config"), 1);
  EXPECT_EQ(TraceHelper::level("Test/ConfigStatus"), 2);
  EXPECT_EQ(TraceHelper::level("Test/Other"), 3);
  EXPECT_EQ(TraceHelper::level("Other/Config"), 4);
}

TEST_F(TraceHelperTest, TakesTheLastLevelOfAPattern) {
  TraceHelper::levelIs("Test/*", 3);
  TraceHelper::levelIs("Test/*", 7);
  EXPECT_EQ(TraceHelper::level("Test/Config"), 7);
  TraceHelper::levelIs("Test/*", 2);
  EXPECT_EQ(TraceHelper::level("Test/Config"), 2);
}

TEST_F(TraceHelperTest, ChangesLevelsAtRunTime) {
  for (const int level : {8, 2, 8}) {
    TraceHelper::levelIs("Test/*", level);
    TWINLOG(config, 8, fn, "at %s", level);
  }
  EXPECT_THAT(traces_.texts(), ElementsAre("at 8", "at 8"));
}

TEST_F(TraceHelperTest, RefusesLevelsAndPatternsThatMeanNothing) {
  try {
    TraceHelper::levelIs("*", 10);
    FAIL();
  } catch (const Pith::RangeException& error) {
    EXPECT_STREQ(error.what(), "Pith::TraceFacility::level < -1 or > 9 not allowed");
  }
  EXPECT_THROW(TraceHelper::levelIs("*", -2), Pith::RangeException);
  EXPECT_THROW(TraceHelper::levelIs("Te*t", 3), Pith::RangeException);
  EXPECT_EQ(TraceHelper::level("Test/Config"), Pith::traceOff);
}

TEST_F(TraceHelperTest, FormatsNothingWithoutSink) {
  struct Counted {
    int& formatted;
    void appendTo(std::string& out) const {
      ++formatted;
      out.append("x");
    }
  };
  int formatted = 0;
  TraceHelper::levelIs("*", 9);
  const TraceHelper::Sink sink = TraceHelper::sinkIs({});
  TWINLOG(config, 0, fn, "%s", Counted{formatted});
  EXPECT_EQ(formatted, 0);
  EXPECT_FALSE(config.enabled(0));
  TraceHelper::sinkIs(sink);
  TWINLOG(config, 0, fn, "%s", Counted{formatted});
  EXPECT_EQ(formatted, 1);
}

TEST_F(TraceHelperTest, GivesBackTheSinkThatItReplaces) {
  int first = 0;
  TraceHelper::levelIs("*", 9);
  const TraceHelper::Sink old = TraceHelper::sinkIs([&](const TraceHelper::Record&) { ++first; });
  TWINLOG(config, 1, fn, "a");
  TraceHelper::sinkIs(old);
  TWINLOG(config, 1, fn, "b");
  EXPECT_EQ(first, 1);
  EXPECT_THAT(traces_.texts(), ElementsAre("b"));
}

TEST_F(TraceHelperTest, LeavesOutTracesOfTheSinkItself) {
  int calls = 0;
  TraceHelper::levelIs("*", 9);
  TraceHelper::sinkIs([&](const TraceHelper::Record&) {
    ++calls;
    TWINLOG(config, 1, fn, "inner");
  });
  TWINLOG(config, 1, fn, "outer");
  EXPECT_EQ(calls, 1);
}

TEST_F(TraceHelperTest, LetsTheSinkReplaceItself) {
  TraceHelper::levelIs("*", 9);
  std::string seen;
  TraceHelper::sinkIs([&seen, text = std::string(100, 'x')](const TraceHelper::Record&) {
    TraceHelper::sinkIs([&seen](const TraceHelper::Record& record) { seen.append(record.text); });
    seen.append(text.substr(0, 1));
  });
  TWINLOG(config, 1, fn, "first");
  TWINLOG(config, 1, fn, "second");
  EXPECT_EQ(seen, "xsecond");
}

TEST_F(TraceHelperTest, GoesOnAfterASinkThatThrew) {
  TraceHelper::levelIs("*", 9);
  int calls = 0;
  TraceHelper::sinkIs([&](const TraceHelper::Record&) {
    if (++calls == 1) throw std::runtime_error("sink");
  });
  EXPECT_THROW(TWINLOG(config, 1, fn, "a"), std::runtime_error);
  TWINLOG(config, 1, fn, "b");
  EXPECT_EQ(calls, 2);
}

TEST_F(TraceHelperTest, WritesLinesToStandardError) {
  TraceHelper::levelIs("*", 9);
  TraceHelper::sinkIs(TraceHelper::standardErrorSink());
  testing::internal::CaptureStderr();
  TWINLOG_FN(config, 8, fn, ": %s", "red\nblue");
  TWINLOG(config, 3, fn, "Policy %s not found", "web");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "8 Test/Config [handle] : red\\x0ablue\n"
            "3 Test/Config [handle] Policy web not found\n");
}

TEST(TraceCaptureTest, PutsSinkAndLevelsBack) {
  TraceCapture outer(5);
  {
    TraceCapture inner(9, "Test/Config");
    TWINLOG(config, 9, fn, "inner");
    TWINLOG(other, 0, fn, "not of the facility");
    EXPECT_THAT(inner.texts(), ElementsAre("inner"));
  }
  TWINLOG(config, 9, fn, "too detailed");
  TWINLOG(other, 5, fn, "outer");
  EXPECT_THAT(outer.texts(), ElementsAre("outer"));
  EXPECT_TRUE(outer.saw(5, "handle", "outer"));
  const testing::AssertionResult unseen = outer.saw(5, "handle", "oute");
  EXPECT_FALSE(unseen);
  EXPECT_STREQ(
      unseen.message(),
      "no trace of level 5 [handle] \"oute\" among 1:\n  Other/Config 5 [handle] \"outer\"");
  outer.clear();
  EXPECT_THAT(outer.records(), IsEmpty());
}

TEST(TraceFacilityTest, LeavesTheListWhenItIsDestroyed) {
  TraceCapture traces(5);
  {
    Twinlog::Facility passing("Test/Passing");
    EXPECT_TRUE(passing.enabled(5));
    EXPECT_TRUE(config.enabled(5));
    EXPECT_TRUE(configStatus.enabled(5));
  }
  TraceHelper::levelIs("*", 7);  // visits all facilities that there are
  EXPECT_TRUE(config.enabled(7));
  EXPECT_TRUE(configStatus.enabled(7));
  EXPECT_FALSE(config.enabled(8));
}

}  // namespace
