// Values of the store as people and programs want to see them.
//
//   valueText(*attribute.value, text)     // a reference as the name of what it refers to
//   recordFields(text)                    // {"service", "web"}, {"action", "forward"}, ...
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "framework/Kiv/Object.h"
#include "framework/Kiv/TypeData.h"
#include "framework/Pith/Ptr.h"

namespace Agent {

// The name of the object that a reference's text refers to: "red" for ".../vrf/red". What has left
// the output while something still refers to it keeps its name: "red (gone)".
std::string referredName(std::string_view reference);
// Whether the object has left the output, itself or with what owned it.
bool hasLeft(const Kiv::Object& object) noexcept;
// As referredName() of a reference to it; "-" for none.
template <class Object>
std::string linkText(const Pith::Ptr<Object>& object) {
  if (!object) return "-";
  return std::string(object->name().view()) + (hasLeft(*object) ? " (gone)" : "");
}
// The fields of a record's text, Kiv/Text.h.
std::vector<std::pair<std::string, std::string>> recordFields(std::string_view record);
// The text, with references in it as names.
std::string valueText(const Kiv::ValueData& data, std::string_view text);
// What an Inspector reads there, with references in it as names.
std::optional<std::string> valueAt(Kiv::Object& top, std::string_view path);

}  // namespace Agent
