// Strict JSON (RFC 8259), by RapidJSON's event parser.
#include <rapidjson/error/en.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

#include <cstring>

#include "agent/Document/TreeBuilder.h"

namespace Agent {
namespace {

// Lines and columns of rising offsets.
class Lines {
 public:
  Lines(std::string_view buffer, std::uint16_t file) : buffer_(buffer), place_{file, 1, 1} {}

  const Place& at(std::size_t offset) {
    for (; offset_ < offset && offset_ < buffer_.size(); ++offset_) {
      const auto byte = static_cast<unsigned char>(buffer_[offset_]);
      if (byte == '\n') {
        ++place_.line;
        place_.column = 1;
      } else if ((byte & 0xC0U) != 0x80U) {  // not a continuation byte of UTF-8
        ++place_.column;
      }
    }
    return place_;
  }

 private:
  std::string_view buffer_;
  std::size_t offset_ = 0;
  Place place_;
};

// Receives a scalar when the stream stands behind it, a bracket when it stands before it; either
// begins behind the blanks and punctuation that follow the token before.
class Handler : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, Handler> {
 public:
  Handler(std::string_view buffer, const rapidjson::MemoryStream& stream, Lines& lines,
          Document& document, TreeBuilder& builder)
      : buffer_(buffer), stream_(stream), lines_(lines), document_(document), builder_(builder) {}

  // NOLINTBEGIN(readability-identifier-naming): the parser's names
  bool Null() { return scalar(Node::Kind::null, "null"); }
  bool Bool(bool value) { return scalar(Node::Kind::boolean, value ? "true" : "false"); }
  bool RawNumber(const char* text, rapidjson::SizeType bytes, bool /*copy*/) {
    return scalar(Node::Kind::number, document_.keep({text, bytes}));
  }
  bool String(const char* text, rapidjson::SizeType bytes, bool /*copy*/) {
    const std::size_t start = startOfToken();
    const std::string_view inBuffer = buffer_.substr(start + 1, bytes);
    const std::string_view value{text, bytes};
    return tokenEnds() && builder_.scalar(Node::Kind::string, lines_.at(start),
                                          inBuffer == value ? inBuffer : document_.keep(value));
  }
  bool Key(const char* text, rapidjson::SizeType bytes, bool copy) {
    return String(text, bytes, copy);
  }
  bool StartObject() { return begin(Node::Kind::mapping); }
  bool StartArray() { return begin(Node::Kind::sequence); }
  bool EndObject(rapidjson::SizeType /*count*/) { return end(); }
  bool EndArray(rapidjson::SizeType /*count*/) { return end(); }
  // NOLINTEND(readability-identifier-naming)

 private:
  std::size_t startOfToken() const {
    return std::min(buffer_.find_first_not_of(" \t\r\n,:", end_), buffer_.size());
  }
  bool tokenEnds() {
    end_ = stream_.Tell();
    return true;
  }
  bool scalar(Node::Kind kind, std::string_view text) {
    const std::size_t start = startOfToken();
    return tokenEnds() && builder_.scalar(kind, lines_.at(start), text);
  }
  bool begin(Node::Kind kind) {
    end_ = startOfToken() + 1;
    return builder_.begin(kind, lines_.at(end_ - 1));
  }
  bool end() {
    end_ = startOfToken() + 1;
    builder_.end();
    return true;
  }

  std::string_view buffer_;
  const rapidjson::MemoryStream& stream_;
  Lines& lines_;
  Document& document_;
  TreeBuilder& builder_;
  std::size_t end_ = 0;
};

}  // namespace

bool readJson(std::string_view buffer, std::uint16_t file, Document& document, Node& root,
              Diagnostics& diagnostics) {
  rapidjson::MemoryStream stream(buffer.data(), buffer.size());
  Lines lines(buffer, file);
  TreeBuilder builder;
  Handler handler(buffer, stream, lines, document, builder);
  rapidjson::Reader reader;
  constexpr unsigned flags = rapidjson::kParseValidateEncodingFlag |
                             rapidjson::kParseNumbersAsStringsFlag | rapidjson::kParseIterativeFlag;
  reader.Parse<flags>(stream, handler);
  // A NUL is where the parser takes the text to end.
  const bool endsEarly = !reader.HasParseError() && stream.Tell() < buffer.size();
  if (!reader.HasParseError() && !endsEarly) {
    root = std::move(builder.root());
    return true;
  }
  const rapidjson::ParseErrorCode code = reader.GetParseErrorCode();
  const std::size_t offset = endsEarly ? stream.Tell() : reader.GetErrorOffset();
  std::string why = "not JSON: ";
  if (endsEarly) {
    why += "a byte 0";
  } else if (code == rapidjson::kParseErrorTermination) {
    why = builder.tooMuch();
  } else if (code == rapidjson::kParseErrorStringInvalidEncoding) {
    why += "not UTF-8";
  } else if (offset >= buffer.size()) {
    why += "the file ends too early";
  } else {
    why += rapidjson::GetParseError_En(code);
  }
  diagnostics.error(lines.at(offset), {}, why);
  return false;
}

}  // namespace Agent
