#include "framework/Kiv/Text.h"

#include <algorithm>

namespace Kiv::Impl {
namespace {

constexpr std::string_view special = ",=\"\\";

}  // namespace

void throwBadText(std::string_view what, std::string_view text, std::string_view wanted) {
  std::string message("bad ");
  message.append(what).append(" \"").append(text).append("\": wanted ").append(wanted);
  throw Pith::RangeException(message);
}

void appendQuoted(std::string& out, std::string_view text) {
  if (text.find_first_of(special) == std::string_view::npos) {
    out.append(text);
    return;
  }
  out.push_back('"');
  for (const char c : text) {
    if (c == '"' || c == '\\') out.push_back('\\');
    out.push_back(c);
  }
  out.push_back('"');
}

FieldText takeField(std::string_view& text) {
  const std::string_view whole = text;
  const std::size_t equals = text.find('=');
  if (equals == std::string_view::npos) throwBadText("field", text, "name=value");
  FieldText field{text.substr(0, equals), {}};
  text.remove_prefix(equals + 1);
  if (text.starts_with('"')) {
    text.remove_prefix(1);
    while (!text.starts_with('"')) {
      if (text.starts_with('\\')) text.remove_prefix(1);
      if (text.empty()) throwBadText("field", whole, "a closing quote");
      field.value.push_back(text.front());
      text.remove_prefix(1);
    }
    text.remove_prefix(1);
  } else {
    const std::size_t length = std::min(text.find(','), text.size());
    field.value = text.substr(0, length);
    text.remove_prefix(length);
  }
  if (text.empty()) return field;
  if (!text.starts_with(',') || text.size() == 1)
    throwBadText("field", whole, "name=value after a comma");
  text.remove_prefix(1);
  return field;
}

}  // namespace Kiv::Impl
