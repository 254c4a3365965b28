#include "agent/Store/Store.h"

#include <array>

#include "framework/Pith/Assert.h"

namespace Agent {

void Store::start() {
  root_ =
      Firewall::rootDirSmFactory(sources, hwConfig, status, interfaces, ipStatus, matchListPaths,
                                 applications, fieldSets, profiles, capabilities, prefixLists);
}

void Store::stop() {
  if (!root_) return;
  root_->cleanup();
  root_ = nullptr;
}

Kiv::Object& Store::input(const Kiv::TypeData& type) const {
  const std::array<Kiv::Object*, 7> inputs{capabilities.get(), interfaces.get(),   ipStatus.get(),
                                           fieldSets.get(),    applications.get(), matchLists.get(),
                                           prefixLists.get()};
  for (Kiv::Object* const object : inputs) {
    if (object->typeData().name == type.name) return *object;
  }
  PITH_ASSERT_TEXT(false, "an input of that type");
  __builtin_unreachable();
}

std::vector<Store::Named> Store::objects() const {
  std::vector<Named> result{{"hwConfig", hwConfig.get()},
                            {"status", status.get()},
                            {"hwCapability", capabilities.get()},
                            {"interface", interfaces.get()},
                            {"ip", ipStatus.get()},
                            {"fieldSet", fieldSets.get()},
                            {"application", applications.get()},
                            {"profile", profiles.get()},
                            {"matchList", matchLists.get()},
                            {"prefixList", prefixLists.get()}};
  return result;
}

}  // namespace Agent
