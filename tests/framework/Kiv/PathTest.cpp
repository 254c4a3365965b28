#include "framework/Kiv/Path.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(PathTest, stepsAreWhatStandsBetweenTheSlashes) {
  Kiv::Path path("a//b/");
  EXPECT_EQ(path.step(), "a");
  EXPECT_EQ(path.rest(), "/b/");
  EXPECT_EQ(path.step(), "");
  EXPECT_EQ(path.step(), "b");
  EXPECT_FALSE(path.atEnd());
  EXPECT_EQ(path.step(), "");
  EXPECT_TRUE(path.atEnd());
  EXPECT_TRUE(Kiv::Path("").atEnd());
}

TEST(PathTest, everyKeyRoundTrips) {
  for (const std::string key : {"", "a", "/", "%", "%2F", "%25", "a/b%c", "%%//"}) {
    std::string step;
    Kiv::appendPathKey(step, key);
    EXPECT_EQ(step.find('/'), std::string::npos);
    EXPECT_EQ(Kiv::pathKeyFromText(step), key);
  }
}

}  // namespace
