#include "framework/Kiv/BoundedString.h"

#include <gtest/gtest.h>

#include <string>

#include "framework/Kiv/Text.h"
#include "framework/Pith/Hash.h"
#include "framework/Pith/RangeException.h"

namespace {

using Name = Kiv::BoundedString<100>;

static_assert(sizeof(Name) == sizeof(Pith::String));
static_assert(Name::maxLength() == 100);

template <class Text>
std::string errorOf(const Text& text) {
  try {
    const Name name(text);
  } catch (const Pith::RangeException& error) {
    return error.what();
  }
  return "no error";
}

TEST(BoundedStringTest, holdsUpToItsLength) {
  EXPECT_EQ(Name(std::string(100, 'n')).size(), 100U);
  EXPECT_EQ(Name(), Name(""));
}

TEST(BoundedStringTest, oneByteMoreIsRefusedHoweverItIsGiven) {
  const std::string expected = "Kiv::String::bytes > maxLength() not allowed";
  const std::string text(101, 'n');
  EXPECT_EQ(errorOf(text), expected);
  EXPECT_EQ(errorOf(text.c_str()), expected);
  EXPECT_EQ(errorOf(std::string_view(text)), expected);
  EXPECT_EQ(errorOf(Pith::String(text)), expected);
  EXPECT_THROW(Kiv::strepToValue<Name>(text), Pith::RangeException);
}

TEST(BoundedStringTest, lengthIsInBytesNotInCharacters) {
  std::string umlauts;
  for (int letter = 0; letter < 51; ++letter) umlauts += "\xC3\xBC";
  EXPECT_EQ(errorOf(umlauts), "Kiv::String::bytes > maxLength() not allowed");
}

TEST(BoundedStringTest, isTheSameTextAsTheStringItWasMadeOf) {
  const Pith::String text("default");
  const Name name = text;
  EXPECT_EQ(name.c_str(), text.c_str());
  EXPECT_EQ(name, text);
  EXPECT_EQ(Pith::hashOf(name), Pith::hashOf(text));
  EXPECT_EQ(Kiv::valueToStrep(name), "default");
}

}  // namespace
