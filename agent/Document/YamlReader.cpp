// YAML, by libyaml's event parser. What plain texts mean is the core schema of YAML 1.2 (its
// chapter 10.3): "no" and "on" are texts.
#include <yaml.h>

#include <cstring>

#include "agent/Document/TreeBuilder.h"

namespace Agent {
namespace {

class Parser {
 public:
  explicit Parser(std::string_view buffer) {
    yaml_parser_initialize(&parser_);
    yaml_parser_set_encoding(&parser_, YAML_UTF8_ENCODING);
    yaml_parser_set_input_string(&parser_, reinterpret_cast<const unsigned char*>(buffer.data()),
                                 buffer.size());
  }
  Parser(const Parser&) = delete;
  Parser& operator=(const Parser&) = delete;
  ~Parser() {
    yaml_event_delete(&event_);
    yaml_parser_delete(&parser_);
  }

  // The next event, good until the one after it; null when the text is broken.
  const yaml_event_t* next() {
    yaml_event_delete(&event_);
    return yaml_parser_parse(&parser_, &event_) == 1 ? &event_ : nullptr;
  }
  const yaml_parser_t& state() const noexcept { return parser_; }

 private:
  yaml_parser_t parser_{};
  yaml_event_t event_{};
};

Place placeOf(const yaml_mark_t& mark, std::uint16_t file) {
  return {file, static_cast<std::uint32_t>(mark.line + 1),
          static_cast<std::uint32_t>(mark.column + 1)};
}

bool isNumber(std::string_view text) {
  if (!text.empty() && (text[0] == '-' || text[0] == '+')) text.remove_prefix(1);
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

Node::Kind kindOf(std::string_view text, bool isPlain) {
  if (!isPlain) return Node::Kind::string;
  for (const char* name : {"", "~", "null", "Null", "NULL"}) {
    if (text == name) return Node::Kind::null;
  }
  for (const char* name : {"true", "false"}) {
    if (text == name) return Node::Kind::boolean;
  }
  return isNumber(text) ? Node::Kind::number : Node::Kind::string;
}

bool hasTag(const yaml_event_t& event) {
  switch (event.type) {
    case YAML_SCALAR_EVENT:
      return event.data.scalar.tag != nullptr;
    case YAML_MAPPING_START_EVENT:
      return event.data.mapping_start.tag != nullptr;
    case YAML_SEQUENCE_START_EVENT:
      return event.data.sequence_start.tag != nullptr;
    default:
      return false;
  }
}

std::string problemOf(const yaml_parser_t& parser) {
  if (parser.error == YAML_READER_ERROR) return "not UTF-8 text: " + std::string(parser.problem);
  std::string text = "not YAML: ";
  if (parser.context != nullptr) text += std::string(parser.context) + ", ";
  return text + (parser.problem == nullptr ? "memory exhausted" : parser.problem);
}

// Where the reader stopped, which knows the offset alone.
Place placeOfOffset(std::string_view buffer, std::size_t offset, std::uint16_t file) {
  Place place{file, 1, 1};
  for (const char byte : buffer.substr(0, offset)) {
    if (byte == '\n') {
      ++place.line;
      place.column = 1;
    } else {
      ++place.column;
    }
  }
  return place;
}

}  // namespace

bool readYaml(std::string_view buffer, std::uint16_t file, Document& document, Node& root,
              Diagnostics& diagnostics) {
  Parser parser(buffer);
  TreeBuilder builder;
  int documents = 0;
  while (const yaml_event_t* const event = parser.next()) {
    const Place place = placeOf(event->start_mark, file);
    const auto refuse = [&](const std::string& why) {
      diagnostics.error(place, {}, why);
      return false;
    };
    if (hasTag(*event)) return refuse("tags are not taken; write the value alone");
    switch (event->type) {
      case YAML_DOCUMENT_START_EVENT:
        if (++documents > 1) return refuse("a second document in one file; give each its own");
        break;
      case YAML_ALIAS_EVENT:
        return refuse("aliases are not taken; write the value again");
      case YAML_MAPPING_START_EVENT:
      case YAML_SEQUENCE_START_EVENT: {
        if (builder.expectsKey()) return refuse("a key has to be a text");
        const bool isMapping = event->type == YAML_MAPPING_START_EVENT;
        if (!builder.begin(isMapping ? Node::Kind::mapping : Node::Kind::sequence, place)) {
          return refuse(builder.tooMuch());
        }
        break;
      }
      case YAML_MAPPING_END_EVENT:
      case YAML_SEQUENCE_END_EVENT:
        builder.end();
        break;
      case YAML_SCALAR_EVENT: {
        const std::string_view text{reinterpret_cast<const char*>(event->data.scalar.value),
                                    event->data.scalar.length};
        const bool isPlain = event->data.scalar.style == YAML_PLAIN_SCALAR_STYLE;
        if (!builder.scalar(kindOf(text, isPlain), place, document.keep(text))) {
          return refuse(builder.tooMuch());
        }
        break;
      }
      case YAML_STREAM_END_EVENT:
        root = std::move(builder.root());
        return true;
      default:
        break;
    }
  }
  const yaml_parser_t& state = parser.state();
  const Place place = state.error == YAML_READER_ERROR
                          ? placeOfOffset(buffer, state.problem_offset, file)
                          : placeOf(state.problem_mark, file);
  diagnostics.error(place, {}, problemOf(state));
  return false;
}

}  // namespace Agent
