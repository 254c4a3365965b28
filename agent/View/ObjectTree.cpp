#include "agent/View/ObjectTree.h"

#include <algorithm>
#include <charconv>
#include <string>
#include <vector>

#include "agent/View/Text.h"

namespace Agent {
namespace {

void writeAttribute(TreeWriter& writer, const Kiv::Object& object,
                    const Kiv::AttributeData& attribute) {
  using Kind = Kiv::AttributeKind;
  struct Entry {
    std::string key;
    std::string value;
    const Kiv::Object* child;
  };
  std::vector<Entry> entries;
  attribute.each(
      object, [&entries](std::string_view key, std::string_view value, const Kiv::Object* child) {
        entries.push_back({std::string(key), std::string(value), child});
      });
  if (!attribute.ordered) {
    std::sort(entries.begin(), entries.end(),
              [](const Entry& a, const Entry& b) { return a.key < b.key; });
  }
  const auto one = [&](const Entry& entry) {
    if (entry.child != nullptr) {
      writeObject(writer, *entry.child);
    } else {
      writeValue(writer, *attribute.value, entry.value);
    }
  };
  if (attribute.kind == Kind::set) {
    writer.beginList();
    for (const Entry& entry : entries) writeValue(writer, *attribute.key, entry.key);
    writer.endList();
  } else if (attribute.key != nullptr) {
    writer.begin();
    for (const Entry& entry : entries) {
      writer.key(entry.key);
      one(entry);
    }
    writer.end();
  } else if (entries.empty()) {
    writer.text({});
  } else {
    one(entries.front());
  }
}

}  // namespace

void writeObject(TreeWriter& writer, const Kiv::Object& object) {
  writer.begin();
  for (const Kiv::AttributeData& data : object.typeData().attributes) {
    writer.key(data.name);
    writeAttribute(writer, object, data);
  }
  writer.end();
}

void writeValue(TreeWriter& writer, const Kiv::ValueData& data, std::string_view text) {
  using Kind = Kiv::ValueData::Kind;
  std::uint64_t number = 0;
  if (data.kind == Kind::record) {
    writer.begin();
    for (const auto& [name, fieldText] : recordFields(text)) {
      for (const auto& field : data.fields) {
        if (field.name != name) continue;
        writer.key(name);
        writeValue(writer, *field.value, fieldText);
      }
    }
    writer.end();
  } else if (data.kind == Kind::boolean) {
    writer.boolean(text == "true");
  } else if (data.kind == Kind::integer &&
             std::from_chars(text.data(), text.data() + text.size(), number).ec == std::errc()) {
    writer.number(number);
  } else {
    writer.text(valueText(data, text));
  }
}

}  // namespace Agent
