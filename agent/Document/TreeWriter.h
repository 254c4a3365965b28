// JSON or YAML, piece by piece: what the readers read, written.
//
//   auto writer = TreeWriter::json(text);
//   writer->begin();
//   writer->key("ports"); writer->beginList(); writer->number(80); writer->endList();
//   writer->end();
//   writer->done();
//
// Pieces that do not make a tree are a fault of the caller, which is not looked for.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace Agent {

class TreeWriter {
 public:
  // Appends to `out`, which has to outlive it. Lines of JSON: no blanks and line breaks in it.
  static std::unique_ptr<TreeWriter> json(std::string& out);
  static std::unique_ptr<TreeWriter> jsonLine(std::string& out);
  static std::unique_ptr<TreeWriter> yaml(std::string& out);
  virtual ~TreeWriter() = default;

  virtual void begin() = 0;  // a mapping
  virtual void end() = 0;
  virtual void beginList() = 0;
  virtual void endList() = 0;
  virtual void key(std::string_view name) = 0;
  virtual void text(std::string_view value) = 0;
  virtual void number(std::uint64_t value) = 0;
  virtual void boolean(bool value) = 0;
  virtual void null() = 0;
  // Ends the output with a line break.
  virtual void done() = 0;
};

}  // namespace Agent
