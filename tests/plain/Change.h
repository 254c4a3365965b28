// One change of the inputs, as a line of text, applied to the plain model.
//
//   + source/cli                                                 the source joins its directory
//   + source/cli = new                                           another object takes its name
//   + source/cli/vrf/red/segment/a/className = __segment_a       a value, or an entry with a value
//   - source/cli/vrf/red/segment/a                               an entry goes
//   - source/cli/vrf/red/segment                                 all entries go
//   start                                                        the root reactor is made
//   stop                                                         it is cleaned up and dropped
//
// The first step names an input object: source/<name>, lists/<path>, ip, intf, apps, sets, cap,
// acl; what follows is a path below it as the store has it.
#pragma once

#include <optional>

#include "tests/plain/Model.h"

namespace Plain {

struct Change {
  enum class Kind { start, stop, write, erase };

  explicit Change(const std::string& line);

  Kind kind = Kind::start;
  std::vector<std::string> steps;  // unescaped
  std::string below;               // the path below the input object, as it was written
  std::string text;
};

// Sources and match-list paths keep what they hold while they are out of their directory.
class ModelInputs {
 public:
  explicit ModelInputs(Model& model) : model_(&model) {}

  // False, and nothing done, where what the path leads through is not there. Raises Refused.
  bool apply(const Change& change);

 private:
  // Where the path ends at a collection, the keys of its entries, in their order.
  std::optional<std::vector<std::string>> keysAt(const std::vector<std::string>& steps);
  std::optional<std::vector<std::string>> keysOfSource(const std::vector<std::string>& steps);
  template <class T>
  bool applyEntity(const Change& change, Directory<T>& directory,
                   std::map<std::string, std::shared_ptr<T>>& objects);
  bool applySource(const Change& change);
  bool applyLists(const Change& change);
  bool applyShared(const Change& change);

  Model* model_;
  std::map<std::string, std::shared_ptr<Config>> configs_;
  std::map<std::string, std::shared_ptr<ListPath>> paths_;
};

}  // namespace Plain
