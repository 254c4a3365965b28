// Objects of the store as JSON or YAML, everything that they hold, in a stable order.
//
//   auto writer = TreeWriter::json(text);
//   writer->begin();
//   writer->key("hwConfig");
//   writeObject(*writer, *store.hwConfig);
//   writer->end();
//   writer->done();
//
// An object is a mapping of its attributes. Booleans and integers are themselves, sets are lists,
// references the names of what they refer to. What the store keeps in the order of insertion is
// sorted by key, so that the same content is the same text however it came about.
#pragma once

#include <string_view>

#include "agent/Document/TreeWriter.h"
#include "framework/Kiv/Object.h"
#include "framework/Kiv/TypeData.h"

namespace Agent {

void writeObject(TreeWriter& writer, const Kiv::Object& object);
void writeValue(TreeWriter& writer, const Kiv::ValueData& data, std::string_view text);

}  // namespace Agent
