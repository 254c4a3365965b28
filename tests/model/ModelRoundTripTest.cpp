// What one object of the model says, with all that it owns, makes another that says the same.
#include <gtest/gtest.h>

#include <string>

#include "framework/Kiv/Inspector.h"
#include "tests/model/ModelTypes.h"
#include "tests/support/LiveCounts.h"
#include "tests/support/Recorder.h"
#include "tests/support/Samples.h"

namespace {

using Kiv::AttributeKind;
using TestSupport::Entry;
using TestSupport::Maker;
using TestSupport::Samples;
using TestSupport::Subject;

// Writes sample values into every attribute of the object and of what it owns.
void fill(Kiv::Object& object, Samples& samples) {
  for (const Kiv::AttributeData& attribute : object.typeData().attributes) {
    const Subject subject{&object.typeData(), &attribute, nullptr, nullptr};
    if (attribute.key == nullptr) {
      attribute.write(object, "", samples.of(*attribute.value)[0]);
    } else {
      for (const Entry& entry : subject.entries(samples)) {
        attribute.write(object, entry.key, entry.value);
      }
    }
    if (attribute.child == nullptr) continue;
    attribute.each(object,
                   [&samples](std::string_view, std::string_view, const Kiv::Object* child) {
                     fill(const_cast<Kiv::Object&>(*child), samples);
                   });
  }
}

class ModelRoundTripTest : public testing::TestWithParam<Maker> {};

TEST_P(ModelRoundTripTest, whatItSaysMakesAnotherThatSaysTheSame) {
  Samples samples(
      [](std::string_view type) { return TestSupport::makeReferred(ModelTest::makers(), type); });
  const auto object = GetParam().make();
  fill(*object, samples);
  const auto copy = GetParam().make();
  Kiv::Inspector(*object).each([&copy](std::string_view path, std::string_view text) {
    Kiv::Inspector(*copy).write(path, text);
  });
  EXPECT_EQ(TestSupport::dumpOf(*copy), TestSupport::dumpOf(*object));
  EXPECT_FALSE(TestSupport::dumpOf(*object).empty());
}

TEST_P(ModelRoundTripTest, whatIsDroppedLeavesNothing) {
  const auto before = TestSupport::liveCounts();
  {
    Samples samples(
        [](std::string_view type) { return TestSupport::makeReferred(ModelTest::makers(), type); });
    const auto object = GetParam().make();
    fill(*object, samples);
    EXPECT_NE(TestSupport::liveCounts(), before);
  }
  EXPECT_EQ(TestSupport::liveCounts(), before);
}

INSTANTIATE_TEST_SUITE_P(Model, ModelRoundTripTest, testing::ValuesIn(ModelTest::makers()),
                         [](const auto& maker) {
                           std::string name(maker.param.type->name);
                           name.replace(name.find("::"), 2, "_");
                           return name;
                         });

}  // namespace
