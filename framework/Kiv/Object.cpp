#include "framework/Kiv/Object.h"

#include <algorithm>
#include <cstdint>
#include <mutex>
#include <unordered_map>

#include "framework/Kiv/Text.h"
#include "framework/Kiv/TypeData.h"

namespace Kiv {

// The numbers of the objects that were written as text.
class ReferenceTable {
 public:
  static ReferenceTable& instance() {
    static auto* const table = new ReferenceTable;  // outlives every object
    return *table;
  }

  std::uint64_t number(const Object& object) {
    const std::lock_guard lock(mutex_);
    const auto [entry, isNew] = numbers_.try_emplace(&object, last_ + 1);
    if (isNew) {
      objects_.emplace(++last_, const_cast<Object*>(&object));
      const_cast<Object&>(object).numbered_ = true;
    }
    return entry->second;
  }

  Object* object(std::uint64_t number) {
    const std::lock_guard lock(mutex_);
    const auto entry = objects_.find(number);
    return entry == objects_.end() ? nullptr : entry->second;
  }

  void forget(const Object& object) noexcept {
    const std::lock_guard lock(mutex_);
    const auto entry = numbers_.find(&object);
    objects_.erase(entry->second);
    numbers_.erase(entry);
  }

 private:
  std::mutex mutex_;
  std::uint64_t last_ = 0;
  std::unordered_map<const Object*, std::uint64_t> numbers_;
  std::unordered_map<std::uint64_t, Object*> objects_;
};

Object::~Object() {
  if (numbered_) ReferenceTable::instance().forget(*this);
}

namespace {

Object* objectBelow(Object& top, Path path) {
  const std::string_view text = path.rest();
  Object* object = &top;
  while (object != nullptr && !path.atEnd()) {
    const std::string_view name = path.step();
    const AttributeData* const attribute = object->typeData().attribute(name);
    const bool keyed = attribute != nullptr && attribute->key != nullptr;
    if (attribute == nullptr || attribute->child == nullptr || (keyed && path.atEnd())) {
      Impl::throwBadText("path", text,
                         "a child of " + std::string(object->typeData().name) + " instead of \"" +
                             std::string(name) + "\"");
    }
    object = attribute->child(*object, keyed ? pathKeyFromText(path.step()) : std::string());
  }
  return object;
}

}  // namespace

Object* objectAt(Object& top, std::string_view path) { return objectBelow(top, Path(path)); }

namespace Impl {

void appendReference(std::string& out, const Object* object) {
  if (object == nullptr) return;
  std::string below;
  for (std::string step = object->step(); !step.empty(); step = object->step()) {
    below.insert(0, "/" + step);
    object = object->parent();
  }
  out.append("/").append(object->typeData().name).push_back('@');
  appendText(out, ReferenceTable::instance().number(*object));
  out.append(below);
}

Object* referenceFromText(std::string_view text) {
  if (text.empty()) return nullptr;
  constexpr std::string_view wanted =
      "/Type@number, or that and a path below it, of a living object";
  if (text.front() != '/') throwBadText("reference", text, wanted);
  Path path(text.substr(1));
  const std::string_view top = path.step();
  const std::size_t at = std::min(top.rfind('@'), top.size());
  Object* object = nullptr;
  if (at < top.size()) {
    const auto number = strepToValue<std::uint64_t>(top.substr(at + 1));
    object = ReferenceTable::instance().object(number);
  }
  const bool isWanted = object != nullptr && object->typeData().name == top.substr(0, at);
  if (isWanted) object = objectBelow(*object, path);
  if (!isWanted || object == nullptr) throwBadText("reference", text, wanted);
  return object;
}

}  // namespace Impl
}  // namespace Kiv
