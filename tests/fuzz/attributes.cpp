// The texts of all attributes of the model: keys and values of every type. The first byte says
// which attribute, the rest is its key, a zero byte, and its value.
//
// A text that is refused has changed nothing; one that is accepted is written so that it makes the
// same attribute again.
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "framework/Kiv/Inspector.h"
#include "framework/Pith/RangeException.h"
#include "model/Acl/PrefixList.h"
#include "model/Classification/AppRecognition.h"
#include "model/Firewall/Config.h"
#include "model/Firewall/HwCapability.h"
#include "model/Firewall/HwConfig.h"
#include "model/Interface/AllIntfStatusDir.h"
#include "model/Ip/Status.h"
#include "model/MatchList/MatchList.h"

namespace {

struct Target {
  Pith::Ptr<Kiv::Object> object;
  const Kiv::AttributeData* attribute;
};

using Entries = std::vector<std::pair<std::string, std::string>>;

// All attributes of the object, and of one object of each type below it.
void collect(std::vector<Target>& targets, const Pith::Ptr<Kiv::Object>& object) {
  for (const Kiv::AttributeData& attribute : object->typeData().attributes) {
    if (attribute.write == nullptr) continue;
    targets.push_back({object, &attribute});
    if (attribute.childType == nullptr) continue;
    attribute.write(*object, "name", "");
    collect(targets, attribute.child(*object, "name"));
  }
}

const std::vector<Target>& targets() {
  static const std::vector<Target> all = [] {
    std::vector<Target> targets;
    collect(targets, Kiv::make<Firewall::Config>("name"));
    collect(targets, Kiv::make<Firewall::HwConfig>());
    collect(targets, Kiv::make<Firewall::HwCapability>());
    collect(targets, Kiv::make<Firewall::Status>());
    collect(targets, Kiv::make<MatchList::Config>("name"));
    collect(targets, Kiv::make<Acl::AclListConfig>());
    collect(targets, Kiv::make<Ip::Status>());
    collect(targets, Kiv::make<Interface::AllIntfStatusDir>());
    collect(targets, Kiv::make<Classification::AppRecognitionConfig>());
    collect(targets, Kiv::make<Classification::AppRecognitionStatus>());
    collect(targets, Kiv::make<Classification::FieldSetConfig>());
    return targets;
  }();
  return all;
}

Entries entriesOf(const Target& target) {
  Entries entries;
  target.attribute->each(*target.object,
                         [&](std::string_view key, std::string_view value, const Kiv::Object*) {
                           entries.emplace_back(key, value);
                         });
  return entries;
}

void expect(bool holds, const char* what, const Target& target, const Entries& entries) {
  if (holds) return;
  std::cerr << target.object->typeData().name << "::" << target.attribute->name << ": " << what;
  for (const auto& [key, value] : entries)
    std::cerr << "\n  \"" << key << "\" = \"" << value << '"';
  std::cerr << '\n';
  std::abort();
}

void write(const Target& target, std::string_view key, std::string_view value) {
  const Entries before = entriesOf(target);
  try {
    target.attribute->write(*target.object, key, value);
  } catch (const Pith::RangeException&) {
    expect(entriesOf(target) == before, "refused, and changed", target, before);
    return;
  }
  const Entries written = entriesOf(target);
  const auto restore = [&](const Entries& entries) {
    if (target.attribute->eraseAll != nullptr) target.attribute->eraseAll(*target.object);
    for (const auto& [k, v] : entries) target.attribute->write(*target.object, k, v);
  };
  restore(written);
  expect(entriesOf(target) == written, "reads otherwise", target, written);
  restore(before);
  expect(entriesOf(target) == before, "does not come back", target, before);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const Target& target = targets()[data[0] % targets().size()];
  const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
  const std::size_t zero = text.find('\0');
  write(target, text.substr(0, zero), zero == text.npos ? "" : text.substr(zero + 1));
  return 0;
}
