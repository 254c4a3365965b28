// A store type with an index beside each of its attributes.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "framework/Kiv/Entity.h"
#include "framework/Kiv/Text.h"
#include "framework/Pith/RangeException.h"
#include "framework/Pith/String.h"
#include "tests/framework/Kiv/TestTypes.h"

namespace KivTest {

class IndexedBox : public Kiv::Entity {
  KIV_ENTITY(IndexedBox, Kiv::Entity)
  KIV_VALUE_INDEXED(std::uint32_t, number, onNumber)
  KIV_SET_INDEXED(Pith::String, names, onName)
  KIV_MAP_INDEXED(Pith::String, std::uint32_t, weights, onWeight)
  KIV_ORDERED_MAP_INDEXED(std::uint32_t, Pith::String, steps, onStep)
  KIV_CHILDREN_INDEXED(Pith::String, Leaf, leaves, onLeaf)
  KIV_ORDERED_CHILDREN_INDEXED(Pith::String, Leaf, sortedLeaves, onSortedLeaf)

  // What the indexes hold: "attribute/key" to the value; that of a value has the key "value".
  const std::map<std::string, std::string>& index() const { return index_; }
  // Additions and changes of this key are refused.
  void refusedKeyIs(const std::string& key) { refusedKey_ = key; }

 private:
  template <class Key, class Value>
  void noted(const char* attribute, const Key& key, const Value* previous, const Value* current) {
    const std::string keyText = Kiv::valueToStrep(key);
    const std::string path = attribute + ("/" + keyText);
    if (current == nullptr) {
      index_.erase(path);
      return;
    }
    if (keyText == refusedKey_) Pith::RangeException::throwException("KivTest::IndexedBox::key");
    static_cast<void>(previous);
    if constexpr (std::is_base_of_v<Kiv::Object, Value>) {
      index_[path] = current->typeData().key(*current);
    } else {
      index_[path] = Kiv::valueToStrep(*current);
    }
  }
  void onNumber(std::uint32_t previous, std::uint32_t current) {
    noted("number", Pith::String("value"), &previous, &current);
  }
  template <class Value>
  void onName(const Pith::String& key, const Value* previous, const Value* current) {
    noted("names", key, previous, current);
  }
  void onWeight(const Pith::String& key, const std::uint32_t* previous,
                const std::uint32_t* current) {
    noted("weights", key, previous, current);
  }
  void onStep(std::uint32_t key, const Pith::String* previous, const Pith::String* current) {
    noted("steps", key, previous, current);
  }
  void onLeaf(const Pith::String& key, const Leaf* previous, const Leaf* current) {
    noted("leaves", key, previous, current);
  }
  void onSortedLeaf(const Pith::String& key, const Leaf* previous, const Leaf* current) {
    noted("sortedLeaves", key, previous, current);
  }

  std::map<std::string, std::string> index_;
  std::optional<std::string> refusedKey_;
};

}  // namespace KivTest
