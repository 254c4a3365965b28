#include "agent/Document/TreeWriter.h"

#include <rapidjson/prettywriter.h>
#include <rapidjson/writer.h>
#include <yaml.h>

#include <stdexcept>

namespace Agent {
namespace {

// What RapidJSON writes to.
class StringStream {
 public:
  using Ch = char;
  explicit StringStream(std::string& out) : out_(out) {}
  // NOLINTBEGIN(readability-identifier-naming)
  void Put(char character) { out_.push_back(character); }
  void Flush() {}
  // NOLINTEND(readability-identifier-naming)

 private:
  std::string& out_;
};

template <template <class, class, class, class, unsigned> class Writer>
class JsonWriter final : public TreeWriter {
 public:
  explicit JsonWriter(std::string& out) : out_(out), stream_(out), writer_(stream_) {}

  void begin() override { writer_.StartObject(); }
  void end() override { writer_.EndObject(); }
  void beginList() override { writer_.StartArray(); }
  void endList() override { writer_.EndArray(); }
  void key(std::string_view name) override {
    writer_.Key(name.data(), static_cast<rapidjson::SizeType>(name.size()));
  }
  void text(std::string_view value) override {
    const char* const data = value.empty() ? "" : value.data();
    writer_.String(data, static_cast<rapidjson::SizeType>(value.size()));
  }
  void number(std::uint64_t value) override { writer_.Uint64(value); }
  void boolean(bool value) override { writer_.Bool(value); }
  void null() override { writer_.Null(); }
  void done() override { out_.push_back('\n'); }

 private:
  std::string& out_;
  StringStream stream_;
  Writer<StringStream, rapidjson::UTF8<>, rapidjson::UTF8<>, rapidjson::CrtAllocator, 0> writer_;
};

class YamlWriter final : public TreeWriter {
 public:
  explicit YamlWriter(std::string& out) {
    yaml_emitter_initialize(&emitter_);
    yaml_emitter_set_unicode(&emitter_, 1);
    yaml_emitter_set_width(&emitter_, -1);
    yaml_emitter_set_output(
        &emitter_,
        [](void* to, unsigned char* bytes, std::size_t count) {
          static_cast<std::string*>(to)->append(reinterpret_cast<char*>(bytes), count);
          return 1;
        },
        &out);
    yaml_event_t event;
    yaml_stream_start_event_initialize(&event, YAML_UTF8_ENCODING);
    emit(event);
    yaml_document_start_event_initialize(&event, nullptr, nullptr, nullptr, 1);
    emit(event);
  }
  YamlWriter(const YamlWriter&) = delete;
  YamlWriter& operator=(const YamlWriter&) = delete;
  ~YamlWriter() override { yaml_emitter_delete(&emitter_); }

  void begin() override {
    yaml_event_t event;
    yaml_mapping_start_event_initialize(&event, nullptr, nullptr, 1, YAML_BLOCK_MAPPING_STYLE);
    emit(event);
  }
  void end() override {
    yaml_event_t event;
    yaml_mapping_end_event_initialize(&event);
    emit(event);
  }
  void beginList() override {
    yaml_event_t event;
    yaml_sequence_start_event_initialize(&event, nullptr, nullptr, 1, YAML_BLOCK_SEQUENCE_STYLE);
    emit(event);
  }
  void endList() override {
    yaml_event_t event;
    yaml_sequence_end_event_initialize(&event);
    emit(event);
  }
  void key(std::string_view name) override { text(name); }
  void text(std::string_view value) override {
    const bool isPlain = !value.empty() && value != "true" && value != "false" && value != "null" &&
                         value != "~" &&
                         value.find_first_not_of("0123456789") != std::string_view::npos;
    scalar(value, isPlain ? YAML_ANY_SCALAR_STYLE : YAML_DOUBLE_QUOTED_SCALAR_STYLE);
  }
  void number(std::uint64_t value) override {
    scalar(std::to_string(value), YAML_PLAIN_SCALAR_STYLE);
  }
  void boolean(bool value) override { scalar(value ? "true" : "false", YAML_PLAIN_SCALAR_STYLE); }
  void null() override { scalar("null", YAML_PLAIN_SCALAR_STYLE); }
  void done() override {
    yaml_event_t event;
    yaml_document_end_event_initialize(&event, 1);
    emit(event);
    yaml_stream_end_event_initialize(&event);
    emit(event);
  }

 private:
  void scalar(std::string_view value, yaml_scalar_style_t style) {
    yaml_event_t event;
    const char* const data = value.empty() ? "" : value.data();  // which must not be null
    const auto* const bytes = reinterpret_cast<const unsigned char*>(data);
    yaml_scalar_event_initialize(&event, nullptr, nullptr, bytes, static_cast<int>(value.size()), 1,
                                 1, style);
    emit(event);
  }
  void emit(yaml_event_t& event) {
    if (yaml_emitter_emit(&emitter_, &event) != 1) throw std::runtime_error(emitter_.problem);
  }

  yaml_emitter_t emitter_{};
};

template <class Out, class Source, class Target, class Allocator, unsigned flags>
using Pretty = rapidjson::PrettyWriter<Out, Source, Target, Allocator, flags>;
template <class Out, class Source, class Target, class Allocator, unsigned flags>
using Line = rapidjson::Writer<Out, Source, Target, Allocator, flags>;

}  // namespace

std::unique_ptr<TreeWriter> TreeWriter::json(std::string& out) {
  return std::make_unique<JsonWriter<Pretty>>(out);
}
std::unique_ptr<TreeWriter> TreeWriter::jsonLine(std::string& out) {
  return std::make_unique<JsonWriter<Line>>(out);
}
std::unique_ptr<TreeWriter> TreeWriter::yaml(std::string& out) {
  return std::make_unique<YamlWriter>(out);
}

}  // namespace Agent
