#include "agent/Schema/JsonSchema.h"

#include "agent/Document/TreeWriter.h"
#include "agent/Schema/Schema.h"
#include "agent/Schema/Values.h"
#include "model/Firewall/Config.h"

namespace Agent {
namespace {

using Kiv::AttributeKind;
using Kiv::ValueData;

class Writer {
 public:
  explicit Writer(TreeWriter& out) : out_(out) {}

  void root() {
    out_.begin();
    pair("$schema", "http://json-schema.org/draft-04/schema#");
    pair("title", "Configuration of fwagent");
    pair("type", "object");
    parts(false);
    out_.end();
  }

 private:
  void pair(std::string_view key, std::string_view value) {
    out_.key(key);
    out_.text(value);
  }

  // An empty YAML mapping is nothing.
  void mappingType() {
    out_.key("type");
    out_.beginList();
    out_.text("object");
    out_.text("null");
    out_.endList();
  }

  void bounds(std::uint64_t min, std::uint64_t max) {
    out_.key("minimum");
    out_.number(min);
    out_.key("maximum");
    out_.number(max);
  }

  void closed() {
    out_.key("additionalProperties");
    out_.boolean(false);
  }

  void parts(bool ofSwitch) {
    out_.key("properties");
    out_.begin();
    if (!ofSwitch) {
      out_.key(switchPart);
      out_.begin();
      mappingType();
      parts(true);
      out_.end();
    }
    for (const Part& part : Agent::parts()) {
      if (part.ofSwitch != ofSwitch) continue;
      out_.key(part.name);
      if (part.attribute != nullptr) {
        attribute(*part.attribute, part.object);
      } else if (part.isSource) {
        out_.begin();
        mappingType();
        out_.key("additionalProperties");
        object(*part.object);
        out_.end();
      } else {
        object(*part.object);
      }
    }
    out_.end();
    closed();
  }

  void object(const ObjectSchema& schema) {
    out_.begin();
    mappingType();
    out_.key("properties");
    out_.begin();
    for (const FieldSchema& field : schema.fields) {
      out_.key(field.name);
      if (field.attribute == nullptr) {
        interfaces();
      } else {
        attribute(*field.attribute, field.child);
      }
    }
    out_.end();
    closed();
    out_.end();
  }

  void attribute(const Kiv::AttributeData& data, const ObjectSchema* child) {
    switch (data.kind) {
      case AttributeKind::set:
        list(*data.key);
        return;
      case AttributeKind::collection:
        byKey(*data.key, [&] { value(*data.value); });
        return;
      case AttributeKind::children:
        byKey(*data.key, [&] { object(*child); });
        return;
      case AttributeKind::child:
        object(*child);
        return;
      default:
        value(*data.value);
        return;
    }
  }

  void list(const ValueData& data) {
    out_.begin();
    out_.key("type");
    out_.beginList();
    out_.text("array");
    out_.text("null");
    out_.endList();
    out_.key("uniqueItems");
    out_.boolean(true);
    out_.key("items");
    value(data);
    out_.end();
  }

  // A mapping whose keys are texts of the type.
  template <class Value>
  void byKey(const ValueData& key, const Value& valueOf) {
    out_.begin();
    mappingType();
    out_.key("patternProperties");
    out_.begin();
    out_.key(key.kind == ValueData::Kind::integer ? "^[0-9]+$" : valueTypeOf(key).pattern);
    valueOf();
    out_.end();
    closed();
    out_.end();
  }

  void interfaces() {
    const auto& entries = *Firewall::ClassMapFirewall::staticTypeData().attribute("intfVlanData");
    const auto& ranges = *Firewall::IntfVlanRangeSet::staticTypeData().attribute("vlanRange");
    out_.begin();
    out_.key("anyOf");
    out_.beginList();
    list(*entries.key);
    byKey(*entries.key, [&] { list(*ranges.key); });
    out_.endList();
    out_.end();
  }

  void value(const ValueData& data) {
    using Kind = ValueData::Kind;
    out_.begin();
    switch (data.kind) {
      case Kind::boolean:
        pair("type", "boolean");
        break;
      case Kind::integer:
        pair("type", "integer");
        bounds(0, data.max);
        break;
      case Kind::enumeration:
        out_.key("enum");
        out_.beginList();
        for (const std::string_view name : data.names) out_.text(name);
        out_.endList();
        break;
      case Kind::record:
        record(data);
        break;
      default:
        pair("description", valueTypeOf(data).wanted);
        out_.key("type");
        out_.beginList();
        out_.text("string");
        out_.text("integer");
        out_.endList();
        pair("pattern", valueTypeOf(data).pattern);
        if (valueTypeOf(data).max != 0) bounds(valueTypeOf(data).min, valueTypeOf(data).max);
    }
    out_.end();
  }

  void record(const ValueData& data) {
    pair("type", "object");
    out_.key("properties");
    out_.begin();
    for (const auto& field : data.fields) {
      out_.key(field.name);
      value(*field.value);
    }
    out_.end();
    out_.key("required");
    out_.beginList();
    for (const auto& field : data.fields) {
      if (isRequired(field.name)) out_.text(field.name);
    }
    out_.endList();
    closed();
  }

  TreeWriter& out_;
};

}  // namespace

std::string jsonSchema() {
  std::string text;
  const auto out = TreeWriter::json(text);
  Writer(*out).root();
  out->done();
  return text;
}

}  // namespace Agent
