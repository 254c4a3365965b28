#include "framework/Pith/String.h"

#include <gtest/gtest.h>

#include <limits>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>

#include "framework/Pith/Hash.h"
#include "framework/Pith/RangeException.h"

namespace {

using Pith::String;

static_assert(sizeof(String) == sizeof(void*));

TEST(StringTest, copySharesTheText) {
  const String name("default");
  const String copy = name;  // NOLINT(performance-unnecessary-copy-initialization)
  EXPECT_EQ(copy.c_str(), name.c_str());
  EXPECT_EQ(copy, name);
}

TEST(StringTest, copyOutlivesTheOriginal) {
  String copy;
  {
    const String name("Ethernet1/2");
    copy = name;
  }
  EXPECT_EQ(copy.view(), "Ethernet1/2");
}

TEST(StringTest, equalTextsAreEqualWhereverTheyCameFrom) {
  EXPECT_EQ(String("web"), String(std::string("web")));
  EXPECT_EQ(String("web").hash(), String(std::string_view("web-and-more", 3)).hash());
  EXPECT_EQ(String("web"), "web");
  EXPECT_EQ(String("web"), std::string_view("web"));
  EXPECT_NE(String("web"), String("wed"));
  EXPECT_NE(String("web"), String("we"));
  EXPECT_NE(String("web"), String());
  EXPECT_NE(String(), String("web"));
}

TEST(StringTest, emptyStringsAreOne) {
  EXPECT_TRUE(String().empty());
  EXPECT_EQ(String(""), String());
  EXPECT_EQ(String("").hash(), String().hash());
  EXPECT_EQ(String().size(), 0U);
  EXPECT_STREQ(String().c_str(), "");
  EXPECT_EQ(String().view(), "");
  EXPECT_FALSE(String("a").empty());
}

TEST(StringTest, movedFromIsEmpty) {
  String name("red");
  const String moved = std::move(name);
  EXPECT_EQ(moved, "red");
  EXPECT_TRUE(name.empty());  // NOLINT(bugprone-use-after-move)
}

TEST(StringTest, assignmentOfItselfKeepsTheText) {
  String name("red");
  const String& same = name;
  name = same;
  EXPECT_EQ(name, "red");
}

TEST(StringTest, orderIsByBytes) {
  EXPECT_LT(String(), String("a"));
  EXPECT_LT(String("a"), String("ab"));
  EXPECT_LT(String("ab"), String("b"));
  EXPECT_LT(String("Z"), String("a"));
  EXPECT_LT(String("z"), String("\xC3\xA4"));
  const String name("a");
  EXPECT_TRUE((name <=> name) == 0);
  EXPECT_TRUE((name <=> String("a")) == 0);
}

TEST(StringTest, holdsAnyByteAndIsTerminated) {
  const String name(std::string_view("a\0b", 3));
  EXPECT_EQ(name.size(), 3U);
  EXPECT_EQ(name.view(), std::string_view("a\0b", 3));
  EXPECT_NE(name, String("a"));
  EXPECT_EQ(name.c_str()[3], '\0');
}

TEST(StringTest, hashIsThatOfTheBytesOnEveryMachine) {
  EXPECT_EQ(String("default").hash(), Pith::hashBytes("default", 7));
  EXPECT_EQ(Pith::hashOf(String("default")), String("default").hash());
  EXPECT_NE(String("default").hash(), String("defaulu").hash());
}

TEST(StringTest, appendsAndStreamsItsText) {
  std::string out("vrf ");
  String("red").appendTo(out);
  EXPECT_EQ(out, "vrf red");
  std::ostringstream stream;
  stream << String("red") << String();
  EXPECT_EQ(stream.str(), "red");
}

TEST(StringTest, textBeyondTheLengthFieldIsRefusedBeforeItIsRead) {
  const std::string_view huge("", std::numeric_limits<std::uint32_t>::max());
  EXPECT_THROW(String{huge}, Pith::RangeException);
}

}  // namespace
