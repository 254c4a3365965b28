#include "framework/Kiv/TraceStream.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <limits>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include "framework/Pith/Node.h"
#include "framework/Pith/Ptr.h"
#include "framework/Pith/String.h"

namespace {

struct Fields {
  int number = 1;
  bool flag = true;
  KIV_FIELDS(number, flag)
};

enum class Named : std::uint8_t { first, second };
constexpr std::array<std::string_view, 2> enumNames(Named) { return {"first", "second"}; }

enum class Streamed { value };
std::ostream& operator<<(std::ostream& out, Streamed) { return out << "streamed"; }

struct Appended {
  void appendTo(std::string& out) const { out.append("appended"); }
};
// Both: appendTo() is taken, it is the faster.
struct AppendedAndStreamed : Appended {};
[[maybe_unused]] std::ostream& operator<<(std::ostream& out, const AppendedAndStreamed&) {
  return out << "wrong";
}

class NamedNode : public Pith::Node {
 public:
  Pith::String name() const { return "node"; }
};
class AppendedNode : public NamedNode {
 public:
  void appendTo(std::string& out) const { out.append("text of the node"); }
};
class PlainNode : public Pith::Node {};

template <class T>
std::string textOf(const T& value) {
  Kiv::TraceStream stream;
  stream << value;
  return std::string(stream.view());
}

TEST(TraceStreamTest, WritesNumbersInDecimal) {
  EXPECT_EQ(textOf(0), "0");
  EXPECT_EQ(textOf(-1), "-1");
  EXPECT_EQ(textOf(std::uint8_t{200}), "200");
  EXPECT_EQ(textOf(std::int8_t{-128}), "-128");
  EXPECT_EQ(textOf(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
  EXPECT_EQ(textOf(std::numeric_limits<std::uint64_t>::max()), "18446744073709551615");
  EXPECT_EQ(textOf(0.5), "0.5");
}

TEST(TraceStreamTest, WritesBoolAsAWord) {
  EXPECT_EQ(textOf(true), "true");
  EXPECT_EQ(textOf(false), "false");
}

TEST(TraceStreamTest, TakesTextsAsTheyAre) {
  EXPECT_EQ(textOf('x'), "x");
  EXPECT_EQ(textOf(" \"blanks\" "), " \"blanks\" ");
  EXPECT_EQ(textOf(std::string("string")), "string");
  EXPECT_EQ(textOf(std::string_view("view")), "view");
  EXPECT_EQ(textOf(Pith::String("name")), "name");
  EXPECT_EQ(textOf(Pith::String()), "");
  EXPECT_EQ(textOf(static_cast<const char*>(nullptr)), "(null)");
}

TEST(TraceStreamTest, WritesEachTypeInItsOwnWay) {
  EXPECT_EQ(textOf(Appended()), "appended");
  EXPECT_EQ(textOf(AppendedAndStreamed()), "appended");
  EXPECT_EQ(textOf(Named::second), "second");
  EXPECT_EQ(textOf(Streamed::value), "streamed");
  EXPECT_EQ(textOf(Fields()), "number=1,flag=true");
}

TEST(TraceStreamTest, WritesAnAbsentOptionalAsNothing) {
  EXPECT_EQ(textOf(std::optional<int>()), "");
  EXPECT_EQ(textOf(std::optional<int>(7)), "7");
  EXPECT_EQ(textOf(std::optional(Streamed::value)), "streamed");
}

TEST(TraceStreamTest, ShowsWhatAReferenceRefersTo) {
  const auto named = Pith::Ptr<NamedNode>::adopt(new NamedNode);
  const auto appended = Pith::Ptr<AppendedNode>::adopt(new AppendedNode);
  const auto plain = Pith::Ptr<PlainNode>::adopt(new PlainNode);
  EXPECT_EQ(textOf(named), "node");
  EXPECT_EQ(textOf(named.get()), "node");
  EXPECT_EQ(textOf(Pith::Ptr<const NamedNode>(named)), "node");
  EXPECT_EQ(textOf(appended), "text of the node");
  EXPECT_EQ(textOf(plain).substr(0, 2), "0x");
  EXPECT_EQ(textOf(plain), textOf(plain.get()));
  EXPECT_EQ(textOf(Pith::Ptr<NamedNode>()), "null");
  EXPECT_EQ(textOf(static_cast<const NamedNode*>(nullptr)), "null");
}

TEST(TraceStreamTest, JoinsValues) {
  Kiv::TraceStream stream;
  stream << " intf: " << Pith::String("Ethernet1") << " enabled: " << true;
  EXPECT_EQ(stream.view(), " intf: Ethernet1 enabled: true");
  stream.clear();
  EXPECT_EQ(stream.view(), "");
}

}  // namespace
