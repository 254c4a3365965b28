#include "model/Firewall/ListSource.h"

#include <gtest/gtest.h>

#include <string>

#include "framework/Kiv/Text.h"
#include "framework/Pith/RangeException.h"

namespace {

using Firewall::getListSourceName;
using Firewall::ListSource;
using Kiv::strepToValue;
using Kiv::valueToStrep;
using Alternative = ListSource::Alternative;

TEST(ListSourceTest, isNoneUnlessItIsSaid) {
  EXPECT_EQ(ListSource().alternative(), Alternative::none);
  EXPECT_TRUE(ListSource().isNone());
  EXPECT_EQ(getListSourceName(ListSource()), "");
}

TEST(ListSourceTest, namesAMatchListOrAPrefixList) {
  EXPECT_EQ(ListSource::matchList("a").alternative(), Alternative::matchList);
  EXPECT_EQ(ListSource::prefixList("a").alternative(), Alternative::prefixList);
  EXPECT_EQ(getListSourceName(ListSource::matchList("a")), "a");
  EXPECT_EQ(getListSourceName(ListSource::prefixList("b")), "b");
  EXPECT_FALSE(ListSource::matchList("").isNone());
}

TEST(ListSourceTest, equalityIsThatOfAlternativeAndName) {
  EXPECT_EQ(ListSource::matchList("a"), ListSource(1, "a"));
  EXPECT_NE(ListSource::matchList("a"), ListSource::prefixList("a"));
  EXPECT_NE(ListSource::matchList("a"), ListSource::matchList("b"));
  EXPECT_EQ(ListSource(0, "left over"), ListSource());
}

TEST(ListSourceTest, tagThatMeansNothingIsARangeErrorToItsReader) {
  const ListSource bad(3, "a");
  const auto errorOf = [](const auto& read) -> std::string {
    try {
      read();
    } catch (const Pith::RangeException& error) {
      return error.what();
    }
    return "no error";
  };
  const std::string expected = "Firewall::ListSource::tag > 2 (bad union access) not allowed";
  EXPECT_EQ(errorOf([&] { static_cast<void>(bad.alternative()); }), expected);
  EXPECT_EQ(errorOf([&] { static_cast<void>(bad.name()); }), expected);
  EXPECT_FALSE(bad.isNone());
  EXPECT_FALSE(bad.is(ListSource::Alternative::matchList));
  EXPECT_FALSE(bad.is(ListSource::Alternative::prefixList));
  EXPECT_EQ(errorOf([&] { getListSourceName(bad); }), expected);
  EXPECT_EQ(bad, ListSource(3, "a"));
  EXPECT_EQ(valueToStrep(bad), "tag 3:a");
}

TEST(ListSourceTest, textNamesTheKindOfList) {
  for (const ListSource& source :
       {ListSource(), ListSource::matchList("web"), ListSource::prefixList("a:b"),
        ListSource::matchList(""), ListSource::prefixList("none")}) {
    EXPECT_EQ(strepToValue<ListSource>(valueToStrep(source)), source);
  }
  EXPECT_EQ(valueToStrep(ListSource()), "none");
  EXPECT_EQ(valueToStrep(ListSource::matchList("web")), "matchList:web");
  EXPECT_EQ(valueToStrep(ListSource::prefixList("web")), "prefixList:web");
  for (const char* text : {"", "None", "web", "matchList", "aclList:web", "tag 3:a"}) {
    EXPECT_THROW(strepToValue<ListSource>(text), Pith::RangeException) << text;
  }
}

}  // namespace
