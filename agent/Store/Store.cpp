#include "agent/Store/Store.h"

#include <array>

#include "framework/Pith/Assert.h"

namespace Agent {

Kiv::Object& Store::input(const Kiv::TypeData& type) const {
  const std::array<Kiv::Object*, 7> inputs{
      hwCapability.get(), intfStatusDir.get(), ipStatus.get(),     fieldSetConfig.get(),
      appRecConfig.get(), matchLists.get(),    aclListConfig.get()};
  for (Kiv::Object* const object : inputs) {
    if (object->typeData().name == type.name) return *object;
  }
  PITH_ASSERT_TEXT(false, "an input of that type");
  __builtin_unreachable();
}

std::vector<Store::Named> Store::objects() const {
  std::vector<Named> result{{"hwConfig", hwConfig.get()},
                            {"status", firewallStatus.get()},
                            {"hwCapability", hwCapability.get()},
                            {"interface", intfStatusDir.get()},
                            {"ip", ipStatus.get()},
                            {"fieldSet", fieldSetConfig.get()},
                            {"application", appRecConfig.get()},
                            {"profile", appRecStatus.get()},
                            {"matchList", matchLists.get()},
                            {"prefixList", aclListConfig.get()}};
  return result;
}

}  // namespace Agent
