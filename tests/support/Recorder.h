// Writes down what the subscribers of one object are told, as text.
//
//   TestSupport::Recorder recorder(*segment);
//   segment->classNameIs("web");
//   EXPECT_THAT(recorder.told(), ElementsAre("className: \"\" -> \"web\""));
//
// An entry is "subnets/10.0.0.0%2F8: none -> \"true\"", a child is shown as its key. An action,
// where one is set, runs inside each notification.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "framework/Kiv/Entity.h"
#include "framework/Kiv/TypeData.h"
#include "framework/Pith/Publisher.h"

namespace TestSupport {

class Recorder {
 public:
  struct Notice {
    const Kiv::AttributeData* attribute;
    std::string key;
    std::optional<std::string> previous;  // none: there was none
    std::optional<std::string> current;
    std::size_t count;                  // entries of the attribute at this moment
    std::optional<std::string> stored;  // what the object says at this moment
  };
  using Action = std::function<void(const Notice& notice)>;

  explicit Recorder(const Kiv::Entity& object, Action action = nullptr);

  const std::vector<Notice>& notices() const { return notices_; }
  std::vector<std::string> told() const;
  // The keys of the notices, in their order.
  std::vector<std::string> keys() const;
  void clear() { notices_.clear(); }
  void leave() { subscriber_.unsubscribeFrom(subscriber_.publisher()); }
  void actionIs(Action action) { action_ = std::move(action); }

 private:
  static void onChange(void* owner, Pith::Publisher* publisher, Pith::Subscriber* subscriber,
                       Pith::FieldId field, const void* key, const Pith::Change* change);

  const Kiv::Entity* object_;
  Action action_;
  Pith::Subscriber subscriber_;
  std::vector<Notice> notices_;
};

// What the object says an entry's value is: none where there is no entry, the empty text for what
// has no value.
std::optional<std::string> storedText(const Kiv::Object& object,
                                      const Kiv::AttributeData& attribute, const std::string& key);

// The keys of the entries, in the order of iteration.
std::vector<std::string> keysOf(const Kiv::Object& object, const Kiv::AttributeData& attribute);

// Every path and text of the tree below the object, "path = text".
std::vector<std::string> dumpOf(Kiv::Object& object);

}  // namespace TestSupport
