#include "agent/View/Text.h"

#include <algorithm>

#include "agent/Schema/Values.h"
#include "framework/Kiv/Path.h"

namespace Agent {

std::string referredName(std::string_view reference) {
  const std::size_t slash = reference.rfind('/');
  if (slash == std::string_view::npos) return std::string(reference);
  return Kiv::pathKeyFromText(reference.substr(slash + 1));
}

std::vector<std::pair<std::string, std::string>> recordFields(std::string_view record) {
  std::vector<std::pair<std::string, std::string>> fields;
  while (!record.empty()) {
    const std::size_t equal = std::min(record.find('='), record.size() - 1);
    std::string name(record.substr(0, equal));
    record.remove_prefix(equal + 1);
    std::string value;
    bool isQuoted = false;
    std::size_t at = 0;
    for (; at < record.size() && (isQuoted || record[at] != ','); ++at) {
      if (record[at] == '"') {
        isQuoted = !isQuoted;
      } else {
        if (record[at] == '\\' && isQuoted) ++at;
        value.push_back(record[at]);
      }
    }
    record.remove_prefix(std::min(at + 1, record.size()));
    fields.emplace_back(std::move(name), std::move(value));
  }
  return fields;
}

std::string valueText(const Kiv::ValueData& data, std::string_view text) {
  using Kind = Kiv::ValueData::Kind;
  if (data.kind == Kind::reference) return referredName(text);
  if (data.kind != Kind::record) return std::string(text);
  std::string result;
  for (const auto& [name, value] : recordFields(text)) {
    for (const auto& field : data.fields) {
      if (field.name == name) appendField(result, name, valueText(*field.value, value));
    }
  }
  return result;
}

}  // namespace Agent
