// An attribute of a type, as the tests take it that go over all of them.
#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "framework/Kiv/Entity.h"
#include "framework/Kiv/TypeData.h"
#include "tests/support/Samples.h"

#include <gtest/gtest.h>

namespace TestSupport {

// An entry of a collection: its key, its value (empty where it has none) and another value.
struct Entry {
  std::string key;
  std::string value;
  std::string otherValue;

  // What a notification shows of it.
  const std::string& toldAs(const Kiv::AttributeData& attribute) const {
    return attribute.kind == Kiv::AttributeKind::collection ? value : key;
  }
};

// A type, and how to make an object of it.
struct Maker {
  const Kiv::TypeData* type;
  std::function<Pith::Ptr<Kiv::Entity>()> make;
};
using Makers = std::vector<Maker>;

struct Subject {
  const Kiv::TypeData* type;
  const Kiv::AttributeData* attribute;
  std::function<Pith::Ptr<Kiv::Entity>()> make;
  Samples::MakeReferred makeReferred;

  // Entries whose keys and values are samples of their types.
  std::vector<Entry> entries(Samples& samples) const;
};

void PrintTo(const Maker& maker, std::ostream* out);
void PrintTo(const Subject& subject, std::ostream* out);
std::string nameOfSubject(const testing::TestParamInfo<Subject>& info);

// Makes an object of the type to which a reference of the given type refers.
Pith::Ptr<Kiv::Entity> makeReferred(const Makers& makers, std::string_view referenceType);

// The attributes of the types that are written from outside and of which `wanted` says so.
bool isValue(const Kiv::AttributeData& attribute);
bool isChild(const Kiv::AttributeData& attribute);
bool isKeyed(const Kiv::AttributeData& attribute);
bool isMap(const Kiv::AttributeData& attribute);
std::vector<Subject> subjectsOf(const Makers& makers,
                                bool (*wanted)(const Kiv::AttributeData& attribute));

}  // namespace TestSupport
