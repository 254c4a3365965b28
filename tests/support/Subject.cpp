#include "tests/support/Subject.h"

#include <cctype>
#include <memory>
#include <stdexcept>

namespace TestSupport {

using Kiv::AttributeKind;

std::vector<Entry> Subject::entries(Samples& samples) const {
  const std::vector<std::string> keys = samples.of(*attribute->key);
  std::vector<std::string> values{""};
  if (attribute->value != nullptr) values = samples.of(*attribute->value);
  std::vector<Entry> entries;
  for (std::size_t at = 0; at < keys.size(); ++at) {
    entries.push_back({keys[at], values[at % values.size()], values[(at + 1) % values.size()]});
  }
  // Port ranges stand under their starts.
  if (type->name == "Firewall::FwService" && attribute->kind == AttributeKind::collection) {
    entries = {{"80", "80-443", "80"}, {"22", "22", "22-23"}, {"53", "53-99", "53"}};
  }
  return entries;
}

void PrintTo(const Maker& maker, std::ostream* out) { *out << maker.type->name; }

void PrintTo(const Subject& subject, std::ostream* out) {
  *out << subject.type->name << "::" << subject.attribute->name;
}

std::string nameOfSubject(const testing::TestParamInfo<Subject>& info) {
  std::string name =
      std::string(info.param.type->name) + "_" + std::string(info.param.attribute->name);
  for (char& c : name) {
    if (std::isalnum(static_cast<unsigned char>(c)) == 0) c = '_';
  }
  return name;
}

Pith::Ptr<Kiv::Entity> makeReferred(const Makers& makers, std::string_view referenceType) {
  for (const Maker& maker : makers) {
    const std::string type(maker.type->name);
    if (referenceType == "Pith::Ptr<" + type + ">" ||
        referenceType == "Pith::Ptr<const " + type + ">") {
      return maker.make();
    }
  }
  throw std::logic_error("nothing makes what " + std::string(referenceType) + " refers to");
}

bool isValue(const Kiv::AttributeData& attribute) {
  return attribute.kind == AttributeKind::value || attribute.kind == AttributeKind::reference;
}
bool isChild(const Kiv::AttributeData& attribute) { return attribute.kind == AttributeKind::child; }
bool isKeyed(const Kiv::AttributeData& attribute) { return attribute.key != nullptr; }
bool isMap(const Kiv::AttributeData& attribute) {
  return attribute.kind == AttributeKind::collection;
}

std::vector<Subject> subjectsOf(const Makers& makers,
                                bool (*wanted)(const Kiv::AttributeData& attribute)) {
  std::vector<Subject> subjects;
  const auto shared = std::make_shared<const Makers>(makers);
  for (const Maker& maker : makers) {
    for (const Kiv::AttributeData& attribute : maker.type->attributes) {
      if (attribute.write == nullptr || !wanted(attribute)) continue;
      subjects.push_back({maker.type, &attribute, maker.make,
                          [shared](std::string_view type) { return makeReferred(*shared, type); }});
    }
  }
  return subjects;
}

}  // namespace TestSupport
