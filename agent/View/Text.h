// Values of the store as people and programs want to see them.
//
//   valueText(*attribute.value, text)     // a reference as the name of what it refers to
//   recordFields(text)                    // {"service", "web"}, {"action", "forward"}, ...
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "framework/Kiv/TypeData.h"

namespace Agent {

// The name of the object that a reference's text refers to: "red" for ".../vrf/red".
std::string referredName(std::string_view reference);
// The fields of a record's text, Kiv/Text.h.
std::vector<std::pair<std::string, std::string>> recordFields(std::string_view record);
// The text, with references in it as names.
std::string valueText(const Kiv::ValueData& data, std::string_view text);

}  // namespace Agent
