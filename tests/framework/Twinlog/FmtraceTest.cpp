#include "framework/Pith/Fmtrace.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "framework/Pith/Printable.h"
#include "framework/Pith/String.h"
#include "tests/support/TraceCapture.h"

namespace {

using testing::ElementsAre;
using TestSupport::TraceCapture;
using TestSupport::TraceRecord;

constinit Pith::TraceFacility fmtraceFacility("Firewall/FmtraceTest");

struct CountedText {
  int& formatted;
  void appendTo(std::string& out) const {
    ++formatted;
    out.append("appended");
  }
};

TEST(FmtraceTest, ReplacesBracesByValuesUnderTheLabel) {
  const TraceCapture traces;
  int formatted = 0;
  Pith::fmtrace(fmtraceFacility, 8, "Handle", "Active work handles {}", std::uint32_t{3});
  Pith::fmtrace(fmtraceFacility, 6, "Handle", "set updateInProgress to true");
  Pith::fmtrace(fmtraceFacility, 5, "Other", "{}{} {} { } {a}{}", -1, true, Pith::String("name"),
                "text");
  Pith::fmtrace(fmtraceFacility, 4, "Other", "{}, {}, {}", 'c', std::string_view("{}"),
                CountedText{formatted});
  EXPECT_THAT(
      traces.records(),
      ElementsAre(TraceRecord{"Firewall/FmtraceTest", 8, "Handle", "Active work handles 3"},
                  TraceRecord{"Firewall/FmtraceTest", 6, "Handle", "set updateInProgress to true"},
                  TraceRecord{"Firewall/FmtraceTest", 5, "Other", "-1true name { } {a}text"},
                  TraceRecord{"Firewall/FmtraceTest", 4, "Other", "c, {}, appended"}));
  EXPECT_EQ(formatted, 1);
}

TEST(FmtraceTest, FormatsNothingBelowTheLevel) {
  const TraceCapture traces(5);
  int formatted = 0;
  Pith::fmtrace(fmtraceFacility, 6, "Handle", "{}", CountedText{formatted});
  EXPECT_EQ(formatted, 0);
  EXPECT_TRUE(traces.records().empty());
}

TEST(PrintableTest, WritesControlCharactersAsNumbers) {
  std::string out = "> ";
  Pith::appendPrintable(out, std::string_view("a\tb\n\0\x1b[0m\x7f \xc3\xa9\\", 14));
  EXPECT_EQ(out, "> a\\x09b\\x0a\\x00\\x1b[0m\\x7f \xc3\xa9\\");
}

}  // namespace
