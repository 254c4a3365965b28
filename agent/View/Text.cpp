#include "agent/View/Text.h"

#include <algorithm>

#include "agent/Schema/Values.h"
#include "framework/Kiv/Inspector.h"
#include "framework/Kiv/Path.h"
#include "framework/Kiv/Text.h"
#include "framework/Pith/RangeException.h"
#include "model/Firewall/FwPolicy.h"
#include "model/Firewall/FwSegment.h"
#include "model/Firewall/FwService.h"

namespace Agent {

namespace {

constexpr std::string_view output = "Firewall::HwConfig";

// The name of what nobody owns any more, which its path cannot tell; empty where it has none.
std::string nameOfUnowned(std::string_view reference) {
  try {
    const auto object = Kiv::strepToValue<Pith::Ptr<Kiv::Object>>(reference);
    if (const auto policy = Pith::dynamicPtrCast<Firewall::FwPolicy>(object)) {
      return std::string(policy->name().view());
    }
    if (const auto segment = Pith::dynamicPtrCast<Firewall::FwSegment>(object)) {
      return std::string(segment->name().view());
    }
    if (const auto service = Pith::dynamicPtrCast<Firewall::FwService>(object)) {
      return std::string(service->name().view());
    }
  } catch (const Pith::RangeException&) {  // whoever referred to it has let it go as well
  }
  return {};
}

}  // namespace

bool hasLeft(const Kiv::Object& object) noexcept {
  const Kiv::Object* top = &object;
  while (top->parent() != nullptr) top = top->parent();
  return top->typeData().name != output;
}

std::string referredName(std::string_view reference) {
  if (reference.empty() || reference.front() != '/') return std::string(reference);
  const std::size_t slash = reference.rfind('/');
  const std::string_view top = reference.substr(1, reference.find('@') - 1);
  std::string name =
      slash == 0 ? nameOfUnowned(reference) : Kiv::pathKeyFromText(reference.substr(slash + 1));
  if (name.empty()) return Kiv::pathKeyFromText(reference.substr(slash + 1));
  return top == output ? name : name + " (gone)";
}

std::vector<std::pair<std::string, std::string>> recordFields(std::string_view record) {
  std::vector<std::pair<std::string, std::string>> fields;
  while (!record.empty()) {
    const std::size_t equal = std::min(record.find('='), record.size() - 1);
    std::string name(record.substr(0, equal));
    record.remove_prefix(equal + 1);
    std::string value;
    bool isQuoted = false;
    std::size_t at = 0;
    for (; at < record.size() && (isQuoted || record[at] != ','); ++at) {
      if (record[at] == '"') {
        isQuoted = !isQuoted;
      } else {
        if (record[at] == '\\' && isQuoted) ++at;
        value.push_back(record[at]);
      }
    }
    record.remove_prefix(std::min(at + 1, record.size()));
    fields.emplace_back(std::move(name), std::move(value));
  }
  return fields;
}

std::string valueText(const Kiv::ValueData& data, std::string_view text) {
  using Kind = Kiv::ValueData::Kind;
  if (data.kind == Kind::reference) return referredName(text);
  if (data.kind != Kind::record) return std::string(text);
  std::string result;
  for (const auto& [name, value] : recordFields(text)) {
    for (const auto& field : data.fields) {
      if (field.name == name) appendField(result, name, valueText(*field.value, value));
    }
  }
  return result;
}

std::optional<std::string> valueAt(Kiv::Object& top, std::string_view path) {
  auto text = Kiv::Inspector(top).read(path);
  if (!text) return text;
  // It was read: the path ends at an attribute, or at the key of an entry of one.
  Kiv::Object* object = &top;
  const Kiv::AttributeData* attribute = nullptr;
  for (Kiv::Path rest(path); object != nullptr && !rest.atEnd();) {
    attribute = object->typeData().attribute(rest.step());
    const std::string key = attribute->key == nullptr ? "" : Kiv::pathKeyFromText(rest.step());
    if (attribute->child == nullptr) break;
    object = attribute->child(*object, key);
  }
  return attribute->value == nullptr ? text : valueText(*attribute->value, *text);
}

}  // namespace Agent
