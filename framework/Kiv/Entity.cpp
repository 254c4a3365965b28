#include "framework/Kiv/Entity.h"

#include <optional>

namespace Kiv {
namespace {

// The key under which `attribute` of `parent` holds the child, the empty one for a single child;
// none when it does not hold it. A child's own key finds it, except in a directory, which holds
// objects of any type under names that it gives them.
std::optional<std::string> keyInAttribute(const AttributeData& attribute, Object& parent,
                                          const Object& child) {
  if (attribute.child == nullptr) return std::nullopt;
  if (attribute.childType != nullptr) {
    const TypeData& type = child.typeData();
    if (&attribute.childType() != &type) return std::nullopt;
    const std::string key = attribute.key == nullptr ? std::string() : type.key(child);
    return attribute.child(parent, key) == &child ? std::optional(key) : std::nullopt;
  }
  std::optional<std::string> found;
  attribute.each(parent, [&](std::string_view key, std::string_view, const Object* each) {
    if (each == &child) found = key;
  });
  return found;
}

}  // namespace

std::string Entity::step() const {
  if (parent() == nullptr) return {};
  for (const AttributeData& attribute : parent()->typeData().attributes) {
    const std::optional<std::string> key = keyInAttribute(attribute, *parent(), *this);
    if (!key) continue;
    std::string step(attribute.name);
    if (attribute.key == nullptr) return step;
    step.push_back('/');
    appendPathKey(step, *key);
    return step;
  }
  return {};
}

void Entity::linksCut() {
  for (const AttributeData& attribute : typeData().attributes) {
    if (attribute.cutLinks != nullptr) attribute.cutLinks(*this);
  }
}

}  // namespace Kiv
