#include "framework/Kiv/AllocTrack.h"

#include <map>
#include <mutex>

namespace Kiv {

namespace {

struct Registry {
  std::mutex mutex;
  std::map<std::string, AllocTrackTypeInfo, std::less<>> types;
};

// Never destroyed: objects of static storage duration are counted to the end.
Registry& registry() {
  static Registry& only = *new Registry;
  return only;
}

}  // namespace

AllocTrackTypeInfo& AllocTrackTypeInfo::typeFor(std::string_view name, std::size_t objectSize) {
  Registry& registry = Kiv::registry();
  const std::lock_guard lock(registry.mutex);
  return registry.types.try_emplace(std::string(name), name, objectSize).first->second;
}

const AllocTrackTypeInfo* AllocTrackTypeInfo::find(std::string_view name) {
  Registry& registry = Kiv::registry();
  const std::lock_guard lock(registry.mutex);
  const auto found = registry.types.find(name);
  return found == registry.types.end() ? nullptr : &found->second;
}

void AllocTrackTypeInfo::each(const std::function<void(const AllocTrackTypeInfo&)>& visit) {
  Registry& registry = Kiv::registry();
  const std::lock_guard lock(registry.mutex);
  for (const auto& [name, type] : registry.types) visit(type);
}

}  // namespace Kiv
