#include "framework/Kiv/TreeWatcher.h"

#include <utility>

#include "framework/Kiv/Object.h"

namespace Kiv {

class TreeWatcher::Watch {
 public:
  Watch(TreeWatcher& owner, const Entity& object, std::string path)
      : owner_(owner),
        object_(&object),
        path_(std::move(path)),
        subscriber_(this, &Watch::deliver) {
    object.publisher().subscriberAdd(subscriber_);
  }

 private:
  static void deliver(void* self, Pith::Publisher*, Pith::Subscriber*, Pith::FieldId field,
                      const void* key, const Pith::Change* change) {
    static_cast<Watch*>(self)->onField(field, key, *change);
  }

  void onField(Pith::FieldId field, const void* key, const Pith::Change& change) {
    for (const AttributeData& attribute : object_->typeData().attributes) {
      if (attribute.field == field) onAttribute(attribute, key, change);
    }
  }

  void onAttribute(const AttributeData& attribute, const void* key, const Pith::Change& change) {
    using Kind = TreeChange::Kind;
    std::string path = path_ + std::string(attribute.name);
    if (attribute.key != nullptr) {
      path.push_back('/');
      appendPathKey(path, attribute.key->text(key));
    }
    const void* const value = change.current != nullptr ? change.current : change.previous;
    const Kind kind = change.current == nullptr    ? Kind::removed
                      : change.previous == nullptr ? Kind::added
                                                   : Kind::changed;
    const bool owns = attribute.child != nullptr;
    const auto* const child = owns ? static_cast<const Entity*>(value) : nullptr;
    TreeWatcher& owner = owner_;  // this watch may go while the change is handled
    const Pith::Ptr<const Entity> object = object_;
    if (owns && kind == Kind::removed) owner.unwatch(*child);
    owner.onChange({kind, path, *object, attribute, key, change, textOf(attribute, value)});
    if (owns && kind == Kind::added) owner.watch(*child, path + "/");
  }

  // A child is told as the object itself; its text is the one that its owner gives it.
  std::string textOf(const AttributeData& attribute, const void* value) const {
    std::string text;
    if (attribute.kind == AttributeKind::child) {
      attribute.each(*object_, [&text](std::string_view, std::string_view name, const Object*) {
        text = name;
      });
    } else if (attribute.child == nullptr && attribute.value != nullptr) {
      text = attribute.value->text(value);
    }
    return text;
  }

  TreeWatcher& owner_;
  Pith::Ptr<const Entity> object_;
  std::string path_;
  Pith::Subscriber subscriber_;
};

TreeWatcher::TreeWatcher(Pith::Ptr<Entity> root) : root_(std::move(root)) { watch(*root_, ""); }

TreeWatcher::~TreeWatcher() = default;

void TreeWatcher::watch(const Entity& object, const std::string& path) {
  watches_.emplace(&object, std::make_unique<Watch>(*this, object, path));
  for (const AttributeData& attribute : object.typeData().attributes) {
    if (attribute.child == nullptr) continue;
    attribute.each(object, [&](std::string_view key, std::string_view, const Object* child) {
      std::string below = path + std::string(attribute.name);
      if (attribute.key != nullptr) {
        below.push_back('/');
        appendPathKey(below, key);
      }
      watch(static_cast<const Entity&>(*child), below + "/");
    });
  }
}

void TreeWatcher::unwatch(const Entity& object) {
  for (const AttributeData& attribute : object.typeData().attributes) {
    if (attribute.child == nullptr) continue;
    attribute.each(object, [&](std::string_view, std::string_view, const Object* child) {
      unwatch(static_cast<const Entity&>(*child));
    });
  }
  watches_.erase(&object);
}

}  // namespace Kiv
