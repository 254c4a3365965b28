// Every change of a whole tree of store objects, from the moment an object appears in it, as one
// call.
//
//   class Printer final : public Kiv::TreeWatcher {
//    public:
//     using TreeWatcher::TreeWatcher;
//    private:
//     void onChange(const Kiv::TreeChange& change) override { std::cout << change.path << '\n'; }
//   };
//   Printer printer(hwConfig);
//
// It subscribes to each object of the tree, those that appear later when their addition is told:
// among the subscribers of such an object it is as early as it is among those of the object's
// owner.
//
// Cost: about 150 bytes an object; a change costs its path and value as text.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "framework/Kiv/Entity.h"
#include "framework/Kiv/TypeData.h"
#include "framework/Pith/Export.h"
#include "framework/Pith/Ptr.h"
#include "framework/Pith/Publisher.h"

namespace Kiv {

// One change: of a value, of an entry of a collection, or of a child.
struct TreeChange {
  enum class Kind { added, changed, removed };

  Kind kind;
  std::string path;      // below the root: "vrf/red/segment/a/className"
  const Entity& object;  // whose attribute changed
  const AttributeData& attribute;
  const void* key;  // as the notification has it
  const Pith::Change& change;
  std::string value;  // the new value as text; the old one when it was removed
};

class PITH_EXPORT TreeWatcher {
 public:
  explicit TreeWatcher(Pith::Ptr<Entity> root);
  TreeWatcher(const TreeWatcher&) = delete;
  TreeWatcher& operator=(const TreeWatcher&) = delete;
  virtual ~TreeWatcher();

  const Pith::Ptr<Entity>& root() const noexcept { return root_; }

 protected:
  // Called for each change: before what appeared is watched, after what went is not any more.
  virtual void onChange(const TreeChange& change) = 0;

 private:
  class Watch;

  void watch(const Entity& object, const std::string& path);
  void unwatch(const Entity& object);

  Pith::Ptr<Entity> root_;
  std::map<const Entity*, std::unique_ptr<Watch>> watches_;
};

}  // namespace Kiv
