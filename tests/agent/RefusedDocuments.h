// Configurations that are refused, each with what is said of it, and what the JSON Schema makes of
// it: the tests of the check and those of the schema go over the same ones.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace TestAgent {

// What the JSON Schema says: it knows forms, but neither order nor other places.
enum class BySchema { refused, taken, notADocument };

struct RefusedDocument {
  std::string name;  // of the test
  std::string content;
  std::string messages;  // without the folder
  BySchema bySchema = BySchema::refused;
  std::string file = "a.yaml";

  friend void PrintTo(const RefusedDocument& document, std::ostream* out) {
    *out << document.content.substr(0, 100);
  }
};

const std::vector<RefusedDocument>& refusedDocuments();

}  // namespace TestAgent
