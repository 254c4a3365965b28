#include "framework/Twinlog/Twinlog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "framework/Fleetlog/Decode.h"
#include "framework/Lanx/Prefix.h"
#include "framework/Pith/Fmtrace.h"
#include "framework/Pith/Node.h"
#include "framework/Pith/Ptr.h"
#include "framework/Twinlog/FleetlogConverter.h"
#include "tests/support/TraceCapture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::TraceCapture;
using TestSupport::TraceRecord;

constinit Twinlog::Facility facility("Firewall/TwinlogTest");
constinit Twinlog::Facility neighbour("Firewall/Neighbour");

// What the flight recorder holds, as "level [function] text".
std::vector<std::string> recordedIn(const Fleetlog::TraceFile& file) {
  std::vector<std::string> found;
  const Fleetlog::Decoded result =
      Fleetlog::decode(file.bytes(), [&](const Fleetlog::Message& message) {
        found.push_back(std::to_string(message.level) + " [" + std::string(message.shortName) +
                        "] " + std::string(message.text));
      });
  EXPECT_EQ(result.faultCount, 0U);
  EXPECT_EQ(result.messageCount, found.size());
  return found;
}

class TwinlogTest : public testing::Test {
 protected:
  TwinlogTest() { Fleetlog::traceFileIs(&file_); }
  ~TwinlogTest() override {
    Fleetlog::traceFileIs(nullptr);
    Pith::TraceControl::settingsAre(Pith::TraceConsumer::recorder, {});
  }

  std::vector<std::string> recorded() const { return recordedIn(file_); }

  Fleetlog::TraceFile file_;
  TraceCapture traces_;
};

// The sites of a reactor, with the blanks that belong to the texts.
class RootSm {
 public:
  void handlePolicy(const Pith::String& name) {
    static constexpr Twinlog::Function fn("void Firewall::RootSm::handlePolicy(const String&)");
    TWINLOG_FN(facility, 8, fn, ": %s", name);
    TWINLOG(facility, 3, fn, "Policy %s not found", name);
    TWINLOG_FN(facility, 7, fn, " return ");
  }
  std::uint32_t computeRuleId(std::uint32_t sequenceNumber, std::uint32_t index) {
    static constexpr Twinlog::Function fn("U32 Firewall::computeRuleId(U32, U32)");
    TWINLOG_FN(facility, 8, fn, ": %s, %s", sequenceNumber, index);
    TWINLOG(facility, 3, fn, "Failed to compute ruleId: value exceeded");
    return 0;
  }
  void handleActive(bool active) {
    static constexpr Twinlog::Function fn("void Firewall::RootDirSm::handleActive()");
    TWINLOG(facility, 5, fn, " Setting active status: %s", active);
    Pith::fmtrace(facility, 8, "Handle", "Active work handles {}", 3);
  }
};

TEST_F(TwinlogTest, WritesTheSameSitesToBothTracesExactly) {
  RootSm rootSm;
  rootSm.handlePolicy("web");
  rootSm.computeRuleId(1024, 1);
  rootSm.handleActive(true);
  const std::string module = "Firewall/TwinlogTest";
  EXPECT_THAT(traces_.records(),
              ElementsAre(TraceRecord{module, 8, "handlePolicy", ": web"},
                          TraceRecord{module, 3, "handlePolicy", "Policy web not found"},
                          TraceRecord{module, 7, "handlePolicy", " return "},
                          TraceRecord{module, 8, "computeRuleId", ": 1024, 1"},
                          TraceRecord{module, 3, "computeRuleId",
                                      "Failed to compute ruleId: value exceeded"},
                          TraceRecord{module, 5, "handleActive", " Setting active status: true"},
                          TraceRecord{module, 8, "Handle", "Active work handles 3"}));
  EXPECT_THAT(
      recorded(),
      ElementsAre("8 [handlePolicy] void Firewall::RootSm::handlePolicy(const String&): web",
                  "3 [handlePolicy] Policy web not found",
                  "7 [handlePolicy] void Firewall::RootSm::handlePolicy(const String&) return ",
                  "8 [computeRuleId] U32 Firewall::computeRuleId(U32, U32): 1024, 1",
                  "3 [computeRuleId] Failed to compute ruleId: value exceeded",
                  "5 [handleActive]  Setting active status: true",
                  "8 [Handle] Active work handles 3"));
}

TEST_F(TwinlogTest, RecordsModuleLineAndIdOfTheSite) {
  static constexpr Twinlog::Function fn("void Test::lines()");
  const auto line = static_cast<std::uint32_t>(__LINE__);
  TWINLOG_FN(facility, 2, fn, " a");
  TWINLOG_FN(neighbour, 2, fn, " a");
  TWINLOG_FN(facility, 2, fn, " b");
  std::vector<std::string> modules;
  std::vector<std::uint32_t> lines;
  std::vector<std::uint32_t> ids;
  std::vector<std::string> signatures;
  Fleetlog::decode(file_.bytes(), [&](const Fleetlog::Message& message) {
    modules.emplace_back(message.module);
    lines.push_back(message.line);
    ids.push_back(message.id);
    signatures.emplace_back(message.signature);
  });
  EXPECT_THAT(modules,
              ElementsAre("Firewall/TwinlogTest", "Firewall/Neighbour", "Firewall/TwinlogTest"));
  EXPECT_THAT(lines, ElementsAre(line + 1, line + 2, line + 3));
  ASSERT_EQ(ids.size(), 3U);
  EXPECT_EQ(ids[0], ids[1]);  // of the same function and text
  EXPECT_NE(ids[0], ids[2]);
  EXPECT_THAT(signatures, testing::Each("void Test::lines()"));
}

struct Appended {
  void appendTo(std::string& out) const { out.append("appended"); }
};
// What references refer to.
class Named : public Pith::Node {
 public:
  const Pith::String& name() const { return name_; }

 private:
  Pith::String name_ = "named";
};
class AppendedNode : public Named {
 public:
  void appendTo(std::string& out) const { out.append("appended node"); }
};
class Plain : public Pith::Node {};

std::string addressText(const void* address) {
  std::ostringstream text;
  text << address;
  return text.str();
}

TEST_F(TwinlogTest, ShowsValuesOfEveryKindAlikeInBothTraces) {
  static constexpr Twinlog::Function fn("void Test::values()");
  const std::string text = "string";
  const std::optional<int> absent;
  const char* const null = nullptr;
  TWINLOG(facility, 1, fn, "%s %s %s %s", -1, std::uint8_t{7},
          std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::uint64_t>::max());
  TWINLOG(facility, 1, fn, "%s %s %s", true, false, 'c');
  TWINLOG(facility, 1, fn, "%s|%s|%s|%s|%s", text, std::string_view("view"), "literal",
          Pith::String("name"), Pith::String());
  TWINLOG(facility, 1, fn, "%s %s|%s|%s", null, Appended(), absent, 0.5);
  TWINLOG(facility, 1, fn, "%s-%s", Lanx::Prefix::parse("10.0.0.0/8"), std::int16_t{-1});
  const auto named = Pith::Ptr<Named>::adopt(new Named);
  const auto appended = Pith::Ptr<AppendedNode>::adopt(new AppendedNode);
  const auto plain = Pith::Ptr<Plain>::adopt(new Plain);
  TWINLOG(facility, 1, fn, "%s %s %s %s", named, named.get(), Pith::Ptr<const Named>(),
          static_cast<const Named*>(nullptr));
  TWINLOG(facility, 1, fn, "%s %s", appended, static_cast<const Plain*>(nullptr));
  TWINLOG(facility, 1, fn, "%s %s", plain, plain.get());
  const std::vector<std::string> expected{
      "-1 7 -9223372036854775808 18446744073709551615",
      "true false c",
      "string|view|literal|name|",
      "(null) appended||0.5",
      "10.0.0.0/8--1",
      "named named null null",
      "appended node null",
      addressText(plain.get()) + " " + addressText(plain.get()),
  };
  EXPECT_EQ(traces_.texts(), expected);
  std::vector<std::string> withHeads;
  withHeads.reserve(expected.size());
  for (const std::string& each : expected) withHeads.push_back("1 [values] " + each);
  EXPECT_EQ(recorded(), withHeads);
}

TEST_F(TwinlogTest, TakesOtherPercentSignsAndBracesLiterally) {
  static constexpr Twinlog::Function fn("void Test::literal()");
  TWINLOG(facility, 1, fn, "100% %d %%s{} %", "x");
  TWINLOG(facility, 1, fn, "%s", "%s");
  EXPECT_THAT(traces_.texts(), ElementsAre("100% %d %x{} %", "%s"));
  EXPECT_THAT(recorded(), ElementsAre("1 [literal] 100% %d %x{} %", "1 [literal] %s"));
}

TEST_F(TwinlogTest, EachTraceHasItsOwnLevel) {
  static constexpr Twinlog::Function fn("void Test::levels()");
  Kiv::TraceHelper::levelIs("*", 3);
  Fleetlog::levelIs("Firewall/*", 6);
  Fleetlog::levelIs("Firewall/Neighbour", Pith::traceOff);
  EXPECT_EQ(Fleetlog::level("Firewall/TwinlogTest"), 6);
  EXPECT_EQ(Fleetlog::level("Elsewhere"), 9);
  TWINLOG(facility, 3, fn, "both");
  TWINLOG(facility, 6, fn, "recorder");
  TWINLOG(facility, 7, fn, "none");
  TWINLOG(neighbour, 3, fn, "helper");
  TWINLOG(neighbour, 4, fn, "none");
  Pith::fmtrace(facility, 6, "Handle", "recorder {}", true);
  Pith::fmtrace(neighbour, 0, "Handle", "helper {}", true);
  EXPECT_THAT(traces_.texts(), ElementsAre("both", "helper", "helper true"));
  EXPECT_THAT(recorded(),
              ElementsAre("3 [levels] both", "6 [levels] recorder", "6 [Handle] recorder true"));
}

TEST_F(TwinlogTest, RecordsNothingWhileNoTraceFileIsAttached) {
  static constexpr Twinlog::Function fn("void Test::detached()");
  Fleetlog::traceFileIs(nullptr);
  Kiv::TraceHelper::levelIs("*", Pith::traceOff);
  EXPECT_FALSE(facility.enabled(0));
  Kiv::TraceHelper::levelIs("*", 9);
  TWINLOG(facility, 3, fn, "helper only");
  Pith::fmtrace(facility, 3, "Handle", "helper only");
  EXPECT_THAT(recorded(), IsEmpty());
  EXPECT_THAT(traces_.texts(), ElementsAre("helper only", "helper only"));
  Fleetlog::traceFileIs(&file_);
  TWINLOG(facility, 3, fn, "again");
  EXPECT_THAT(recorded(), ElementsAre("3 [detached] again"));
}

TEST_F(TwinlogTest, EvaluatesNoValueOfADisabledSite) {
  static constexpr Twinlog::Function fn("void Test::disabled()");
  Kiv::TraceHelper::levelIs("*", 5);
  Fleetlog::levelIs("*", 5);
  int evaluated = 0;
  TWINLOG(facility, 6, fn, "%s", ++evaluated);
  EXPECT_EQ(evaluated, 0);
  TWINLOG(facility, 5, fn, "%s", ++evaluated);
  EXPECT_EQ(evaluated, 1);
}

TEST_F(TwinlogTest, RegistersASiteWithEveryTraceFile) {
  static constexpr Twinlog::Function fn("void Test::files()");
  const auto trace = [](int number) { TWINLOG(facility, 3, fn, "%s", number); };
  trace(1);
  Fleetlog::TraceFile second;
  Fleetlog::traceFileIs(&second);
  trace(2);
  Fleetlog::traceFileIs(&file_);
  trace(3);
  EXPECT_THAT(recorded(), ElementsAre("3 [files] 1", "3 [files] 3"));
  EXPECT_THAT(recordedIn(second), ElementsAre("3 [files] 2"));
}

// A value whose text form traces itself.
struct Tracing {
  void appendTo(std::string& out) const {
    static constexpr Twinlog::Function fn("void Test::inner()");
    TWINLOG(facility, 3, fn, "inner");
    out.append("value");
  }
};

TEST_F(TwinlogTest, KeepsAMessageWholeWhoseValueTraces) {
  static constexpr Twinlog::Function fn("void Test::outer()");
  TWINLOG(facility, 3, fn, "outer %s", Tracing());
  EXPECT_THAT(recorded(), ElementsAre("3 [outer] outer value", "3 [inner] inner"));
  EXPECT_EQ(file_.lost(), 1U);  // the inner message while the outer was recorded
  EXPECT_THAT(traces_.texts(), ElementsAre("inner", "inner", "outer value"));
}

struct Throwing {
  void appendTo(std::string&) const { throw std::runtime_error("no text"); }
};

TEST_F(TwinlogTest, LeavesNoTraceOfAMessageWhoseValueThrows) {
  static constexpr Twinlog::Function fn("void Test::throwing()");
  EXPECT_THROW(TWINLOG(facility, 3, fn, "%s %s", 1, Throwing()), std::runtime_error);
  TWINLOG(facility, 3, fn, "next");
  EXPECT_THAT(recorded(), ElementsAre("3 [throwing] next"));
  EXPECT_EQ(file_.lost(), 0U);
}

TEST_F(TwinlogTest, ConverterRecordsTextOfAStream) {
  Twinlog::FleetlogConverter converter(facility, 6, "summary");
  Kiv::TraceStream text;
  text << " segments: " << 3 << " %s";
  converter.put(text);
  Fleetlog::levelIs("*", 5);
  converter.put(text);
  EXPECT_THAT(recorded(), ElementsAre("6 [summary]  segments: 3 %s"));
  EXPECT_THAT(traces_.records(), IsEmpty());
}

TEST(FunctionTest, FindsTheShortName) {
  using Fleetlog::shortNameOf;
  EXPECT_EQ(shortNameOf("void Firewall::RootSm::handlePolicy(const String&)"), "handlePolicy");
  EXPECT_EQ(shortNameOf("U32 Firewall::computeRuleId(U32, U32)"), "computeRuleId");
  EXPECT_EQ(shortNameOf("bool main()"), "main");
  EXPECT_EQ(shortNameOf("Firewall::RootSm::~RootSm()"), "~RootSm");
  EXPECT_EQ(shortNameOf("std::function<void(int)> Test::callback(int)"), "callback");
  EXPECT_EQ(shortNameOf("const String& Test::name(std::function<void(int)>)"), "name");
  EXPECT_EQ(shortNameOf("const char* name()"), "name");
  EXPECT_EQ(shortNameOf("Handle"), "Handle");
  EXPECT_EQ(shortNameOf(""), "");
  static_assert(Twinlog::Function("void f(int)").shortName == "f");
}

}  // namespace
