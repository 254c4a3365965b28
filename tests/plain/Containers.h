// What the plain model is made of beside the standard containers: a list under keys that keeps the
// order in which they came, and objects that tell those who watch them of a change.
#pragma once

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Plain {

// A walk looks up each of keys() before it uses it, and so survives any change.
template <class Key, class Value>
class Listed {
 public:
  Value* find(const Key& key) {
    for (auto& item : items_) {
      if (item.first == key) return &item.second;
    }
    return nullptr;
  }
  const Value* find(const Key& key) const { return const_cast<Listed*>(this)->find(key); }
  bool has(const Key& key) const { return find(key) != nullptr; }
  // The value, or a default one (for pointers: null).
  Value get(const Key& key) const {
    const Value* const value = find(key);
    return value == nullptr ? Value() : *value;
  }
  void set(const Key& key, const Value& value) {
    if (Value* const present = find(key)) {
      *present = value;
    } else {
      items_.emplace_back(key, value);
    }
  }
  bool erase(const Key& key) {
    return std::erase_if(items_, [&key](const auto& item) { return item.first == key; }) > 0;
  }
  void clear() { items_.clear(); }
  std::vector<Key> keys() const {
    std::vector<Key> keys;
    for (const auto& item : items_) keys.push_back(item.first);
    return keys;
  }
  bool empty() const { return items_.empty(); }
  const std::vector<std::pair<Key, Value>>& items() const { return items_; }

 private:
  std::vector<std::pair<Key, Value>> items_;
};

// What changed: the attribute, the key of the entry in it and, where somebody needs them, the texts
// of the value before and after.
struct News {
  std::string what;
  std::string key;
  std::optional<std::string> before;
  std::optional<std::string> after;
};

using Listener = std::function<void(const News&)>;

// What cannot be done as it was asked for.
struct Refused : std::runtime_error {
  using runtime_error::runtime_error;
};

// Steps that are all done; what the first of them refused is refused at the end.
class AllSteps {
 public:
  template <class Step>
  void run(const Step& step) {
    try {
      step();
    } catch (const Refused& refused) {
      if (!first_) first_ = refused;
    }
  }
  void end() const {
    if (first_) throw Refused(*first_);
  }

 private:
  std::optional<Refused> first_;
};

// Tells those who watch, in the order in which they began, all of them; who begins meanwhile is not
// told, nor who has left.
class Watched {
 public:
  void tell(const News& news) const {
    const auto now = watchers_;
    AllSteps steps;
    for (const auto& watcher : now) {
      if (*watcher) steps.run([&] { (*watcher)(news); });
    }
    steps.end();
  }

 private:
  friend class Watching;
  std::vector<std::shared_ptr<Listener>> watchers_;
};

// One watch, from here to its end.
class Watching {
 public:
  Watching() = default;
  Watching(std::shared_ptr<Watched> watched, Listener listener)
      : watched_(std::move(watched)), listener_(std::make_shared<Listener>(std::move(listener))) {
    watched_->watchers_.push_back(listener_);
  }
  Watching(Watching&& other) noexcept = default;
  Watching& operator=(Watching&& other) noexcept {
    end();
    watched_ = std::move(other.watched_);
    listener_ = std::move(other.listener_);
    return *this;
  }
  ~Watching() { end(); }
  void end() {
    if (!watched_) return;
    std::erase(watched_->watchers_, listener_);
    *listener_ = nullptr;
    watched_ = nullptr;
  }

 private:
  std::shared_ptr<Watched> watched_;
  std::shared_ptr<Listener> listener_;
};

}  // namespace Plain
