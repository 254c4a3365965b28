// The scalar values of documents: which texts each type of the model takes, and the one text that
// the store writes for it.
//
//   const ValueType& type = valueTypeOf(*attribute.key);
//   std::string text;
//   if (!type.canonical("2001:DB8::/32", text)) ...   // told as: not type.wanted
//   text                                               // "2001:db8::/32"
//
// Everything that a mutator of the model would refuse is refused here, before anything is written;
// so are host bits in every prefix, a range whose start is above its end, and an empty name.
// Records are the matter of Check.h.
#pragma once

#include <string>
#include <string_view>

#include "framework/Kiv/TypeData.h"

namespace Agent {

struct ValueType {
  // Writes the canonical text to `out`; false when `text` is not one of the type.
  bool (*canonical)(std::string_view text, std::string& out);
  std::string_view wanted;       // "a prefix such as 10.0.0.0/8 or 2001:db8::/32"
  std::string_view defaultText;  // of a value that was never written
  std::string pattern;           // a regular expression of all texts, for the JSON Schema
  unsigned min = 0;              // of those that are written as numbers
  unsigned max = 0;
};

// Booleans, integers and enumerations are described by the model itself (Kiv::ValueData); the type
// of any other value has to be known here, which is asserted.
const ValueType& valueTypeOf(const Kiv::ValueData& data);

// The canonical text of a boolean, integer, enumeration or other scalar; false, and `wanted` says
// what would be right, when it is not one.
bool canonicalText(const Kiv::ValueData& data, std::string_view text, std::string& out);
std::string wantedText(const Kiv::ValueData& data);
// The two in one: `"x" is not a prefix such as ...`; empty when it is one.
std::string wrongText(const Kiv::ValueData& data, std::string_view text);
// What the store holds before anything was written: also of records.
std::string defaultText(const Kiv::ValueData& data);

// A field of a record's text form, Kiv/Text.h.
void appendField(std::string& record, std::string_view name, std::string_view value);

// The number of a protocol that is known by name, such as "tcp" (IANA "Protocol Numbers"); -1 for
// none.
int protocolNumber(std::string_view name);
std::string_view protocolName(unsigned number);

}  // namespace Agent
