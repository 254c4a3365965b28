#include "agent/Store/Reconcile.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <optional>
#include <unordered_map>
#include <unordered_set>

#include "agent/Document/Lookup.h"
#include "agent/Schema/Schema.h"
#include "agent/Schema/Values.h"

namespace Agent {
namespace {

using Kiv::AttributeData;
using Kiv::AttributeKind;

constexpr std::string_view enabledName = "enabled";

// The text to write for a value.
std::string_view textOf(const AttributeData& attribute, const Node& node) {
  return attribute.kind == AttributeKind::set || attribute.kind == AttributeKind::children
             ? std::string_view()
             : node.text;
}

const std::string& defaultTextOf(const AttributeData& attribute) {
  static std::unordered_map<const Kiv::ValueData*, std::string> texts;
  const auto [entry, isNew] = texts.try_emplace(attribute.value);
  if (isNew) entry->second = defaultText(*attribute.value);
  return entry->second;
}

void writeObject(Kiv::Object& object, const Node& node);

// Writes one value, entry or child, with everything below it.
void writeEntry(Kiv::Object& object, const AttributeData& attribute, std::string_view key,
                const Node& node) {
  attribute.write(object, key, textOf(attribute, node));
  if (attribute.child == nullptr) return;
  if (Kiv::Object* const child = attribute.child(object, key)) writeObject(*child, node);
}

void writeAttribute(Kiv::Object& object, const AttributeData& attribute, const Node& node) {
  if (attribute.key == nullptr) {
    writeEntry(object, attribute, {}, node);
    return;
  }
  for (const Member& member : node.members) {
    writeEntry(object, attribute, member.key.text, member.value);
  }
}

void writeObject(Kiv::Object& object, const Node& node) {
  for (const AttributeData& attribute : object.typeData().attributes) {
    if (attribute.name == enabledName) continue;
    if (const Node* const given = node.find(attribute.name)) {
      writeAttribute(object, attribute, *given);
    }
  }
}

bool isPrefixEntries(const AttributeData& attribute) {
  return attribute.name == "prefixEntry" || attribute.name == "ipv6PrefixEntry";
}

class Planner {
 public:
  Planner(Store& store, Plan& plan) : store_(store), plan_(plan) {}

  void part(const Part& part, const Node& root) {
    const Node& parent = part.ofSwitch ? below(root, switchPart) : root;
    const Node& node = below(parent, part.name);
    if (part.isSource) {
      sources(node);
    } else if (part.attribute == nullptr) {
      const std::size_t before = plan_.writes.size();
      object(store_.input(*part.owner), node);
      plan_.changesCapabilities = plan_.writes.size() != before;
    } else {
      attribute(store_.input(*part.owner), *part.attribute, node);
    }
  }

 private:
  void sources(const Node& node) {
    for (const Member& member : node.members) {
      const Pith::String name(member.key.text);
      const auto config = store_.source(name);
      const bool wanted = textBelow(member.value, enabledName) == "true";
      if (!config) {
        plan_.newSources.emplace_back(name, &member.value);
      } else {
        object(*config, member.value);
        if (config->enabled() && !wanted) plan_.switchedOff.push_back(name);
      }
      if (wanted && (!config || !config->enabled())) plan_.switchedOn.push_back(name);
    }
    for (auto entry = store_.fwConfigDir->entityPtrIteratorConst(); entry; ++entry) {
      if (node.find(entry.key().view()) == nullptr) plan_.goneSources.push_back(entry.key());
    }
  }

  void object(Kiv::Object& object, const Node& node) {
    for (const AttributeData& data : object.typeData().attributes) {
      if (data.name != enabledName) attribute(object, data, below(node, data.name));
    }
  }

  void attribute(Kiv::Object& object, const AttributeData& attribute, const Node& node) {
    switch (attribute.kind) {
      case AttributeKind::value:
        value(object, attribute, node);
        break;
      case AttributeKind::child:
        child(object, attribute, node);
        break;
      default: {
        const std::size_t writes = plan_.writes.size();
        const std::size_t erasures = plan_.erasures.size();
        entries(object, attribute, node);
        if (isPrefixEntries(attribute)) takeOver(writes, erasures);
        break;
      }
    }
  }

  void value(Kiv::Object& object, const AttributeData& attribute, const Node& node) {
    const bool isGiven = !isAbsent(node);
    const std::string_view wanted =
        isGiven ? node.text : std::string_view(defaultTextOf(attribute));
    if (attribute.read(object, {}) == wanted) return;
    plan_.writes.push_back(
        {Pith::Ptr<Kiv::Object>(&object), &attribute, {}, isGiven ? &node : nullptr});
  }

  void child(Kiv::Object& object, const AttributeData& attribute, const Node& node) {
    Kiv::Object* const there = attribute.child(object, {});
    if (isAbsent(node)) {
      if (there != nullptr) erase(object, attribute, {});
    } else if (there == nullptr) {
      plan_.writes.push_back({Pith::Ptr<Kiv::Object>(&object), &attribute, {}, &node});
    } else {
      this->object(*there, node);
    }
  }

  void entries(Kiv::Object& object, const AttributeData& attribute, const Node& node) {
    std::size_t there = 0;
    for (const Member& member : node.members) {
      if (attribute.child != nullptr) {
        if (Kiv::Object* const child = attribute.child(object, member.key.text)) {
          ++there;
          this->object(*child, member.value);
          continue;
        }
      } else {
        const std::optional<std::string> text = attribute.read(object, member.key.text);
        if (text) ++there;
        if (text == textOf(attribute, member.value)) continue;
      }
      plan_.writes.push_back({Pith::Ptr<Kiv::Object>(&object), &attribute,
                              std::string(member.key.text), &member.value});
    }
    if (there == attribute.count(object)) return;
    std::unordered_set<std::string_view> wanted;
    for (const Member& member : node.members) wanted.insert(member.key.text);
    attribute.each(object, [&](std::string_view key, std::string_view, const Kiv::Object*) {
      if (wanted.count(key) == 0) erase(object, attribute, key);
    });
  }

  // The first field of an entry's text, which is its prefix.
  static std::string_view prefixOf(std::string_view entry) {
    return entry.substr(0, entry.find(','));
  }

  // The changes of one prefix list begin at these places. An entry goes to `takenOver`, to be
  // erased before all writes, when one of the writes has its present prefix.
  void takeOver(std::size_t firstWrite, std::size_t firstErasure) {
    std::unordered_set<std::string_view> written;
    for (std::size_t i = firstWrite; i < plan_.writes.size(); ++i) {
      written.insert(prefixOf(plan_.writes[i].node->text));
    }
    const auto isTakenOver = [&written](const Write& write) {
      const auto was = write.attribute->read(*write.object, write.key);
      return was && written.count(prefixOf(*was)) != 0;
    };
    for (std::size_t i = firstWrite; i < plan_.writes.size(); ++i) {
      const Write& write = plan_.writes[i];
      if (!isTakenOver(write)) continue;
      plan_.takenOver.push_back({write.object, write.attribute, write.key, nullptr});
    }
    const auto begin = plan_.erasures.begin() + static_cast<std::ptrdiff_t>(firstErasure);
    const auto stays = std::stable_partition(
        begin, plan_.erasures.end(), [&](const Write& write) { return !isTakenOver(write); });
    std::move(stays, plan_.erasures.end(), std::back_inserter(plan_.takenOver));
    plan_.erasures.erase(stays, plan_.erasures.end());
  }

  void erase(Kiv::Object& object, const AttributeData& attribute, std::string_view key) {
    plan_.erasures.push_back(
        {Pith::Ptr<Kiv::Object>(&object), &attribute, std::string(key), nullptr});
  }

  Store& store_;
  Plan& plan_;
};

bool isAnyEnabled(const Store& store) {
  for (auto entry = store.fwConfigDir->entityPtrIteratorConst(); entry; ++entry) {
    if (store.source(entry.key())->enabled()) return true;
  }
  return false;
}

}  // namespace

Plan planOf(Store& store, const Node& root) {
  Plan plan;
  Planner planner(store, plan);
  for (const Part& part : parts()) planner.part(part, root);
  return plan;
}

void apply(const Plan& plan, Store& store) {
  for (const Pith::String& name : plan.switchedOff) store.source(name)->enabledIs(false);
  for (const Pith::String& name : plan.goneSources) {
    if (const auto config = store.source(name)) config->enabledIs(false);
    store.fwConfigDir->entityDel(name);  // what it holds would go on keeping others off
  }
  for (const Write& write : plan.takenOver) write.attribute->erase(*write.object, write.key);
  for (const Write& write : plan.writes) {
    if (write.node == nullptr) {
      write.attribute->write(*write.object, write.key, defaultTextOf(*write.attribute));
    } else {
      writeEntry(*write.object, *write.attribute, write.key, *write.node);
    }
  }
  for (const auto& [name, node] : plan.newSources) {
    writeObject(*store.fwConfigDir->newEntity<Firewall::Config>(name), *node);
  }
  for (auto write = plan.erasures.rbegin(); write != plan.erasures.rend(); ++write) {
    write->attribute->erase(*write->object, write->key);
  }
  // Where none is enabled the output is empty.
  const bool isSomeGone = !plan.switchedOff.empty() || !plan.goneSources.empty();
  store.sourceHasLeftIs((store.sourceHasLeft() || isSomeGone) && isAnyEnabled(store));
  for (const Pith::String& name : plan.switchedOn) store.source(name)->enabledIs(true);
  if (plan.changesCapabilities && store.isStarted()) resync(store);
}

void resync(Store& store) {
  std::vector<Firewall::Config::Ptr> enabled;
  for (auto entry = store.fwConfigDir->entityPtrIteratorConst(); entry; ++entry) {
    const auto config = store.source(entry.key());
    if (config && config->enabled()) enabled.push_back(config);
  }
  for (const auto& config : enabled) config->enabledIs(false);
  store.sourceHasLeftIs(false);
  for (const auto& config : enabled) config->enabledIs(true);
}

}  // namespace Agent
