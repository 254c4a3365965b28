// What documents may hold: the model's type tables, and the few places where a document is written
// otherwise than the store is laid out.
//
//   for (const Part& part : parts()) ...            // "app", "source", "switch/vrf", ...
//   const ObjectSchema& schema = schemaOf(Firewall::Policy::staticTypeData());
//   schema.field("rule")->attribute->kind            // collection
//
// A field has the name and the form of its attribute: a value is a scalar, a set a list, a
// collection and children are mappings by key, a record is a mapping of its fields. Where it
// differs:
//   - class maps are not written: a segment lists its `interfaces`, and className follows;
//   - a field set's ports or prefixes stand in the field set, not in an object of it.
#pragma once

#include <string_view>
#include <vector>

#include "framework/Kiv/TypeData.h"

namespace Agent {

struct ObjectSchema;

struct FieldSchema {
  std::string_view name;
  const Kiv::AttributeData* attribute;  // null: the interfaces of a segment
  const ObjectSchema* child;            // of a child or children
};

struct ObjectSchema {
  const Kiv::TypeData* type;
  std::vector<FieldSchema> fields;
  const Kiv::AttributeData* holder = nullptr;  // the child that the fields are in, or null

  const FieldSchema* field(std::string_view name) const noexcept {
    for (const FieldSchema& known : fields) {
      if (known.name == name) return &known;
    }
    return nullptr;
  }
};

const ObjectSchema& schemaOf(const Kiv::TypeData& type);

// A record's field that has to be given.
bool isRequired(std::string_view recordField);

// A top-level part, in the order in which they are published: what others depend on comes first.
struct Part {
  std::string_view name;
  bool ofSwitch;                        // stands below "switch"
  const Kiv::TypeData* owner;           // the store object that holds the attribute
  const Kiv::AttributeData* attribute;  // null: the owner itself, or one owner under each key
  const ObjectSchema* object;           // of the entries, or of the owner
  bool isSource;
};
const std::vector<Part>& parts();
const Part* partOf(std::string_view name, bool ofSwitch) noexcept;

inline constexpr std::string_view switchPart = "switch";
inline constexpr std::string_view interfacesField = "interfaces";

}  // namespace Agent
