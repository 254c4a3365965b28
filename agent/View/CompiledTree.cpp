#include "agent/View/CompiledTree.h"

#include "agent/View/ObjectTree.h"

namespace Agent {

std::string compiledTree(const Store& store, bool asJson) {
  std::string text;
  const auto writer = asJson ? TreeWriter::json(text) : TreeWriter::yaml(text);
  writer->begin();
  writer->key("schema_version");
  writer->number(compiledSchemaVersion);
  writer->key("hwConfig");
  writeObject(*writer, *store.hwConfig);
  writer->key("status");
  writeObject(*writer, *store.firewallStatus);
  writer->end();
  writer->done();
  return text;
}

}  // namespace Agent
