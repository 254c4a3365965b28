#include "framework/Kiv/TypeData.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "framework/Kiv/Optional.h"
#include "tests/framework/Kiv/TestTypes.h"

// Declared on one line, below a base.
// clang-format off
namespace KivTest {
class OneLine : public Leaf { KIV_ENTITY(OneLine, Leaf) using Leaf::Leaf; KIV_VALUE(bool, first) KIV_VALUE(bool, second) };
KIV_ENTITY_DEFINE(OneLine)
}  // namespace KivTest
// clang-format on

namespace {

using Kiv::AttributeKind;
using Kiv::ValueData;
using KivTest::Box;
using KivTest::Leaf;
using KivTest::NamedBox;
using KivTest::OneLine;
using testing::ElementsAre;

const Kiv::AttributeData& attribute(const char* name) {
  return *NamedBox::staticTypeData().attribute(name);
}

TEST(TypeDataTest, attributesAreThoseDeclaredInOrderThoseOfTheBaseFirst) {
  std::vector<std::string> names;
  for (const auto& each : NamedBox::staticTypeData().attributes) names.emplace_back(each.name);
  EXPECT_THAT(names, ElementsAre("flag", "number", "small", "text", "color", "maybe", "record",
                                 "link", "names", "numbers", "records", "links", "steps", "single",
                                 "leaves", "sortedLeaves", "label"));
}

TEST(TypeDataTest, fieldIdentifiersRiseInThatOrderAndAreTheConstantsOfTheType) {
  Pith::FieldId last = 0;
  for (const auto& each : NamedBox::staticTypeData().attributes) {
    EXPECT_GT(each.field, last) << each.name;
    last = each.field;
  }
  EXPECT_EQ(attribute("number").field, Box::numberField);
  EXPECT_EQ(attribute("leaves").field, Box::leavesField);
  EXPECT_EQ(attribute("label").field, NamedBox::labelField);
  EXPECT_EQ(NamedBox::numberField, Box::numberField);
}

TEST(TypeDataTest, fieldIdentifiersCountTheDeclarationsAndNotTheLines) {
  EXPECT_EQ(Leaf::numberField, 1);
  EXPECT_EQ(Leaf::nextField, 2);
  EXPECT_EQ(OneLine::firstField, 65);
  EXPECT_EQ(OneLine::secondField, 66);
  EXPECT_EQ(Box::flagField, 1);
  EXPECT_EQ(Box::sortedLeavesField, 16);
}

TEST(TypeDataTest, kindsAreThoseOfTheDeclarations) {
  EXPECT_EQ(attribute("flag").kind, AttributeKind::value);
  EXPECT_EQ(attribute("link").kind, AttributeKind::reference);
  EXPECT_EQ(attribute("names").kind, AttributeKind::set);
  EXPECT_EQ(attribute("records").kind, AttributeKind::collection);
  EXPECT_EQ(attribute("single").kind, AttributeKind::child);
  EXPECT_EQ(attribute("leaves").kind, AttributeKind::children);
}

TEST(TypeDataTest, orderedAreThoseThatAreOrderedByKey) {
  std::vector<std::string> ordered;
  for (const auto& each : Box::staticTypeData().attributes) {
    if (each.ordered) ordered.emplace_back(each.name);
  }
  EXPECT_THAT(ordered, ElementsAre("numbers", "steps", "sortedLeaves"));
}

TEST(TypeDataTest, typeKnowsItsNameSizeKeyAndChildTypes) {
  EXPECT_EQ(Leaf::staticTypeData().name, "KivTest::Leaf");
  EXPECT_EQ(Leaf::typeName(), "KivTest::Leaf");
  EXPECT_EQ(Leaf::staticTypeData().bytes, sizeof(Leaf));
  const auto leaf = Kiv::make<Leaf>("a,b");
  EXPECT_EQ(Leaf::staticTypeData().key(*leaf), "a,b");
  EXPECT_EQ(Box::staticTypeData().key, nullptr);
  EXPECT_EQ(&attribute("leaves").childType(), &Leaf::staticTypeData());
  EXPECT_EQ(&attribute("single").childType(), &Leaf::staticTypeData());
  EXPECT_EQ(attribute("number").childType, nullptr);
}

TEST(TypeDataTest, objectGivesTheTableOfItsOwnType) {
  const Pith::Ptr<Kiv::Object> object = Kiv::make<NamedBox>();
  EXPECT_EQ(&object->typeData(), &NamedBox::staticTypeData());
  EXPECT_EQ(object->typeData().attribute("nosuch"), nullptr);
}

TEST(TypeDataTest, valuesAreDescribed) {
  EXPECT_EQ(attribute("flag").value->kind, ValueData::Kind::boolean);
  const ValueData& small = *attribute("small").value;
  EXPECT_EQ(small.kind, ValueData::Kind::integer);
  EXPECT_EQ(small.typeName, "S8");
  EXPECT_EQ(attribute("number").value->typeName, "U32");
  EXPECT_EQ(small.min, -128);
  EXPECT_EQ(small.max, 127U);
  EXPECT_EQ(attribute("number").value->max, std::numeric_limits<std::uint32_t>::max());
  EXPECT_EQ(attribute("text").value->kind, ValueData::Kind::text);
  EXPECT_EQ(attribute("text").value->typeName, "Pith::String");
  const ValueData& color = *attribute("color").value;
  EXPECT_EQ(color.kind, ValueData::Kind::enumeration);
  EXPECT_THAT(color.names, ElementsAre("red", "green", "blue"));
  const ValueData& maybe = *attribute("maybe").value;
  EXPECT_EQ(maybe.kind, ValueData::Kind::integer);
  EXPECT_TRUE(maybe.optional);
  EXPECT_EQ(maybe.max, 65535U);
  EXPECT_FALSE(small.optional);
  EXPECT_EQ(attribute("link").value->kind, ValueData::Kind::reference);
  EXPECT_EQ(attribute("link").value->typeName, "Pith::Ptr<KivTest::Leaf>");
}

TEST(TypeDataTest, recordsNameTheirFields) {
  const ValueData& record = *attribute("record").value;
  EXPECT_EQ(record.kind, ValueData::Kind::record);
  ASSERT_EQ(record.fields.size(), 4U);
  EXPECT_EQ(record.fields[0].name, "name");
  EXPECT_EQ(record.fields[1].name, "number");
  EXPECT_EQ(record.fields[1].value->max, 65535U);
  EXPECT_EQ(record.fields[2].value->kind, ValueData::Kind::enumeration);
  EXPECT_TRUE(record.fields[3].value->optional);
}

TEST(TypeDataTest, keysAndValuesSayWhatTheyAreWhereThereAreSome) {
  EXPECT_EQ(attribute("flag").key, nullptr);
  EXPECT_EQ(attribute("names").key->kind, ValueData::Kind::text);
  EXPECT_EQ(attribute("names").value, nullptr);
  EXPECT_EQ(attribute("steps").key->kind, ValueData::Kind::integer);
  EXPECT_EQ(attribute("steps").value->kind, ValueData::Kind::text);
  EXPECT_EQ(attribute("leaves").key->kind, ValueData::Kind::text);
  EXPECT_EQ(attribute("leaves").value, nullptr);
  EXPECT_EQ(attribute("single").key, nullptr);
  EXPECT_EQ(attribute("single").value->kind, ValueData::Kind::text);  // the child's name
}

TEST(TypeDataTest, valueThatANotificationPointsToIsShownAsText) {
  const KivTest::Record record{"web", 80, KivTest::Color::red, {}};
  EXPECT_EQ(attribute("record").value->text(&record), "name=web,number=80,color=red,maybe=");
  const Kiv::Optional<std::uint16_t> absent;
  EXPECT_EQ(attribute("maybe").value->text(&absent), "");
}

}  // namespace
