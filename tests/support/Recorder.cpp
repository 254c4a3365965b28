#include "tests/support/Recorder.h"

#include <utility>

#include "framework/Kiv/Inspector.h"
#include "framework/Kiv/Path.h"

namespace TestSupport {
namespace {

using Kiv::AttributeKind;

const Kiv::AttributeData* attributeOf(const Kiv::Entity& object, Pith::FieldId field) {
  for (const Kiv::AttributeData& attribute : object.typeData().attributes) {
    if (attribute.field == field) return &attribute;
  }
  return nullptr;
}

bool holdsChildren(const Kiv::AttributeData& attribute) {
  return attribute.kind == AttributeKind::child || attribute.kind == AttributeKind::children;
}

std::optional<std::string> textOf(const Kiv::AttributeData& attribute, const void* value) {
  if (value == nullptr) return std::nullopt;
  if (holdsChildren(attribute)) {
    const auto* const child = static_cast<const Kiv::Object*>(value);
    const Kiv::TypeData& type = child->typeData();
    return type.key == nullptr ? std::string(type.name) : type.key(*child);
  }
  return (attribute.value != nullptr ? attribute.value : attribute.key)->text(value);
}

std::string shown(const std::optional<std::string>& text) {
  return text ? '"' + *text + '"' : std::string("none");
}

}  // namespace

Recorder::Recorder(const Kiv::Entity& object, Action action)
    : object_(&object), action_(std::move(action)), subscriber_(this, &Recorder::onChange) {
  object.publisher().subscriberAdd(subscriber_);
}

void Recorder::onChange(void* owner, Pith::Publisher* /*publisher*/,
                        Pith::Subscriber* /*subscriber*/, Pith::FieldId field, const void* key,
                        const Pith::Change* change) {
  auto& self = *static_cast<Recorder*>(owner);
  const Kiv::AttributeData* const attribute = attributeOf(*self.object_, field);
  const std::string keyText = key == nullptr ? std::string() : attribute->key->text(key);
  const Notice notice{attribute,
                      keyText,
                      textOf(*attribute, change->previous),
                      textOf(*attribute, change->current),
                      attribute->count(*self.object_),
                      storedText(*self.object_, *attribute, keyText)};
  self.notices_.push_back(notice);
  if (const Action action = self.action_) action(notice);
}

std::vector<std::string> Recorder::told() const {
  std::vector<std::string> lines;
  for (const Notice& notice : notices_) {
    std::string line(notice.attribute->name);
    if (notice.attribute->key != nullptr) {
      line.push_back('/');
      Kiv::appendPathKey(line, notice.key);
    }
    lines.push_back(line + ": " + shown(notice.previous) + " -> " + shown(notice.current));
  }
  return lines;
}

std::vector<std::string> Recorder::keys() const {
  std::vector<std::string> keys;
  for (const Notice& notice : notices_) keys.push_back(notice.key);
  return keys;
}

std::optional<std::string> storedText(const Kiv::Object& object,
                                      const Kiv::AttributeData& attribute, const std::string& key) {
  if (attribute.read != nullptr) return attribute.read(object, key);
  if (attribute.child(const_cast<Kiv::Object&>(object), key) == nullptr) return std::nullopt;
  return std::string();
}

std::vector<std::string> keysOf(const Kiv::Object& object, const Kiv::AttributeData& attribute) {
  std::vector<std::string> keys;
  attribute.each(object, [&keys](std::string_view key, std::string_view, const Kiv::Object*) {
    keys.emplace_back(key);
  });
  return keys;
}

std::vector<std::string> dumpOf(Kiv::Object& object) {
  std::vector<std::string> lines;
  Kiv::Inspector(object).each([&lines](std::string_view path, std::string_view text) {
    lines.push_back(std::string(path) + " = " + std::string(text));
  });
  return lines;
}

}  // namespace TestSupport
