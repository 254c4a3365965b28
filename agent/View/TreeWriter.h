// Objects of the store as JSON or YAML, everything that they hold, in a stable order.
//
//   auto writer = TreeWriter::json(text);
//   writer->begin();
//   writer->key("hwConfig"); writer->object(*store.hwConfig);
//   writer->end();
//   writer->done();
//
// An object is a mapping of its attributes. Booleans and integers are themselves, sets are lists,
// references the names of what they refer to. What the store keeps in the order of insertion is
// sorted by key, so that the same content is the same text however it came about.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "framework/Kiv/Object.h"
#include "framework/Kiv/TypeData.h"

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

  void object(const Kiv::Object& object);
  void value(const Kiv::ValueData& data, std::string_view text);

 private:
  void attribute(const Kiv::Object& object, const Kiv::AttributeData& attribute);
};

}  // namespace Agent
