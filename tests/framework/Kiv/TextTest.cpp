#include "framework/Kiv/Text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <exception>
#include <string>
#include <string_view>

#include "framework/Kiv/CharRange.h"
#include "framework/Kiv/Errors.h"
#include "framework/Kiv/Optional.h"
#include "framework/Pith/RangeException.h"
#include "framework/Pith/String.h"

namespace {

using Kiv::strepToValue;
using Kiv::valueToStrep;
using testing::HasSubstr;

enum class Color : std::uint8_t { red, green, blue };
constexpr std::array<std::string_view, 3> enumNames(Color /*any*/) {
  return {"red", "green", "blue"};
}

struct Record {
  Pith::String name;
  std::uint16_t number = 0;
  Color color = Color::red;
  Kiv::Optional<std::uint8_t> maybe{};
  KIV_FIELDS(name, number, color, maybe)
  bool operator==(const Record&) const = default;
};

template <class T>
void expectRefused(std::string_view text) {
  EXPECT_THROW(strepToValue<T>(text), Pith::RangeException) << '"' << text << '"';
}

template <class T>
std::string errorOf(std::string_view text) {
  try {
    strepToValue<T>(text);
  } catch (const Pith::RangeException& error) {
    return error.what();
  }
  return "no error";
}

TEST(TextTest, booleansAreWords) {
  EXPECT_EQ(valueToStrep(true), "true");
  EXPECT_EQ(valueToStrep(false), "false");
  EXPECT_TRUE(strepToValue<bool>("true"));
  EXPECT_FALSE(strepToValue<bool>("false"));
  for (const char* text : {"", "1", "True", "true ", " false"}) expectRefused<bool>(text);
}

TEST(TextTest, integersAreDecimalAndWithinTheirType) {
  EXPECT_EQ(valueToStrep(std::uint8_t{255}), "255");
  EXPECT_EQ(valueToStrep(std::int8_t{-128}), "-128");
  EXPECT_EQ(valueToStrep(std::uint64_t{18446744073709551615U}), "18446744073709551615");
  EXPECT_EQ(strepToValue<std::uint8_t>("255"), 255);
  EXPECT_EQ(strepToValue<std::int8_t>("-128"), -128);
  EXPECT_EQ(strepToValue<std::uint64_t>("18446744073709551615"), 18446744073709551615U);
  for (const char* text : {"", "256", "-1", "+1", " 1", "1 ", "0x1", "1.0", "one"}) {
    expectRefused<std::uint8_t>(text);
  }
  expectRefused<std::int8_t>("-129");
  expectRefused<std::uint64_t>("18446744073709551616");
}

TEST(TextTest, enumerationsAreTheirNames) {
  EXPECT_EQ(valueToStrep(Color::blue), "blue");
  EXPECT_EQ(strepToValue<Color>("green"), Color::green);
  for (const char* text : {"", "Green", "1", "purple"}) expectRefused<Color>(text);
}

TEST(TextTest, valueWithoutNameIsShownAsItsNumberAndNotReadFromIt) {
  EXPECT_EQ(valueToStrep(static_cast<Color>(7)), "7");
  expectRefused<Color>("7");
}

TEST(TextTest, absentOptionalIsTheEmptyText) {
  using Maybe = Kiv::Optional<std::uint16_t>;
  EXPECT_EQ(valueToStrep(Maybe()), "");
  EXPECT_EQ(valueToStrep(Maybe(80)), "80");
  EXPECT_EQ(strepToValue<Maybe>(""), Maybe());
  EXPECT_EQ(strepToValue<Maybe>("80"), Maybe(80));
  expectRefused<Maybe>("none");
}

TEST(TextTest, readingAnAbsentOptionalRaisesBadOptionalAccess) {
  const Kiv::Optional<std::uint16_t> absent;
  try {
    static_cast<void>(absent.value());
    FAIL() << "nothing was thrown";
  } catch (const std::exception& error) {
    EXPECT_STREQ(error.what(), "bad optional access");
  }
}

TEST(TextTest, stringsAreTheirBytes) {
  const std::string_view bytes("a\0\n\"=,", 6);
  EXPECT_EQ(valueToStrep(Pith::String(bytes)), bytes);
  EXPECT_EQ(strepToValue<Pith::String>(bytes).view(), bytes);
}

TEST(TextTest, recordsAreTheirFieldsInOrder) {
  const Record record{"web", 80, Color::blue, 6};
  EXPECT_EQ(valueToStrep(record), "name=web,number=80,color=blue,maybe=6");
  EXPECT_EQ(strepToValue<Record>("name=web,number=80,color=blue,maybe=6"), record);
  EXPECT_EQ(valueToStrep(Record()), "name=,number=0,color=red,maybe=");
  EXPECT_EQ(strepToValue<Record>("name=,number=0,color=red,maybe="), Record());
}

TEST(TextTest, fieldsMayComeInAnyOrderAndThoseLeftOutHaveTheirDefaults) {
  EXPECT_EQ(strepToValue<Record>("color=blue,name=web"), (Record{"web", 0, Color::blue, {}}));
  EXPECT_EQ(strepToValue<Record>(""), Record());
}

TEST(TextTest, valueWithSignsOfTheNotationIsQuoted) {
  EXPECT_EQ(valueToStrep(Record{"a,b=\"c\\", 0, Color::red, {}}),
            R"(name="a,b=\"c\\",number=0,color=red,maybe=)");
  EXPECT_EQ(strepToValue<Record>(R"(name="a,b=\"c\\")").name, "a,b=\"c\\");
  EXPECT_EQ(strepToValue<Record>(R"(name="plain",number="7")"),
            (Record{"plain", 7, Color::red, {}}));
}

TEST(TextTest, everyShortNameOfSignsRoundTripsInARecord) {
  constexpr std::string_view signs = "a,=\"\\ ";
  std::size_t names = 1;
  for (int length = 1; length <= 5; ++length) {
    names *= signs.size();
    for (std::size_t number = 0; number < names; ++number) {
      std::string name;
      for (std::size_t rest = number; name.size() < static_cast<std::size_t>(length);
           rest /= signs.size()) {
        name.push_back(signs[rest % signs.size()]);
      }
      const Record record{name, 1, Color::green, {}};
      ASSERT_EQ(strepToValue<Record>(valueToStrep(record)), record) << name;
    }
  }
}

TEST(TextTest, malformedRecordsAreRefused) {
  for (const char* text :
       {"name", "nosuch=1", "name=a,", ",name=a", "name=a,,number=1", "name=\"a", "name=\"a\\",
        "name=\"a\"b", "name=\"a\"number=1", "name=a,name=b", "number=", "number=x", "color=7"}) {
    expectRefused<Record>(text);
  }
}

// Takes three digits and leaves the rest.
struct Area {
  explicit Area(Kiv::CharRange& range) : number(strepToValue<std::uint16_t>(range.take(3))) {}
  std::uint16_t number;
  void appendTo(std::string& out) const { Kiv::appendText(out, number); }
};

TEST(TextTest, typeThatReadsARangeTakesWhatBelongsToIt) {
  Kiv::CharRange range("123456789");
  EXPECT_EQ(strepToValue<Area>(range).number, 123);
  EXPECT_EQ(strepToValue<Area>(range).number, 456);
  EXPECT_EQ(range.view(), "789");
  EXPECT_EQ(strepToValue<std::uint16_t>(range), 789);
  EXPECT_TRUE(range.empty());
}

TEST(TextTest, textBehindTheValueIsRefused) {
  EXPECT_EQ(strepToValue<Area>("123").number, 123);
  expectRefused<Area>("1234");
}

TEST(TextTest, rangeGivesNoMoreThanItHas) {
  Kiv::CharRange range("abc");
  EXPECT_EQ(range.take(2), "ab");
  EXPECT_EQ(range.take(2), "c");
  EXPECT_EQ(range.take(2), "");
  EXPECT_EQ(Kiv::CharRange("rest").takeAll(), "rest");
}

TEST(TextTest, errorsSayWhatWasReadAndWhatWouldBeRight) {
  EXPECT_EQ(errorOf<bool>("maybe"), "bad bool \"maybe\": wanted true or false");
  EXPECT_EQ(errorOf<std::uint8_t>("256"), "bad number \"256\": wanted 0 to 255");
  EXPECT_EQ(errorOf<Color>("pink"), "bad enumerator \"pink\": wanted one of red, green, blue");
  EXPECT_THAT(errorOf<Record>("nosuch=1"), HasSubstr("\"nosuch\""));
}

TEST(ErrorsTest, reinstantiationNamesTypeAndAttribute) {
  try {
    Kiv::Impl::throwMutatorReinstantiating("Firewall::VrfSm", "inFirewall");
  } catch (const Kiv::ReinstantiationError& error) {
    EXPECT_THAT(error.what(), HasSubstr("Firewall::VrfSm::inFirewall"));
  }
}

TEST(ErrorsTest, deserializationIsARangeErrorThatNamesTheAttribute) {
  try {
    Kiv::Impl::throwDeserializing("dstPort", "bad number");
  } catch (const Pith::RangeException& error) {
    EXPECT_STREQ(error.what(), "cannot read attribute \"dstPort\": bad number");
  }
}

}  // namespace
