#include "agent/Schema/Check.h"

#include <algorithm>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "Firewall/Segments/ClassMapName.h"
#include "agent/Schema/DocumentPath.h"
#include "agent/Schema/Schema.h"
#include "agent/Schema/Values.h"
#include "model/Firewall/Config.h"

namespace Agent {
namespace {

using Kiv::AttributeKind;
using Kind = Node::Kind;

std::string list(const std::vector<std::string_view>& names) {
  std::string text;
  for (const std::string_view name : names) text += (text.empty() ? "" : ", ") + std::string(name);
  return text;
}

class Checker {
 public:
  Checker(Document& document, Diagnostics& diagnostics)
      : document_(document), diagnostics_(diagnostics) {}

  void root(Node& node) {
    keepUnique(node, [this](Member& member) {
      if (member.key.text == switchPart) {
        switchPartOf(member.value);
        return true;
      }
      const Part* const known = partOf(member.key.text, false);
      return known != nullptr ? part(member.value, *known) : unknownPart(member, false);
    });
  }

 private:
  bool fail(const Node& node, std::string text) {
    diagnostics_.error(node.place, path_.text(), std::move(text));
    return false;
  }

  // Checks each member under its path and removes those for which `keep` says no, and those whose
  // key was there before.
  template <class Keep>
  void keepUnique(Node& node, const Keep& keep) {
    constexpr std::size_t few = 16;
    std::unordered_map<std::string_view, std::size_t> seen;
    const bool isLarge = node.members.size() > few;
    if (isLarge) seen.reserve(node.members.size());
    std::size_t kept = 0;
    for (Member& member : node.members) {
      const DocumentPath::Step step(path_, member.key.text);
      if (!keep(member)) continue;
      std::size_t first = kept;
      if (isLarge) {
        const auto [entry, isNew] = seen.try_emplace(member.key.text, kept);
        if (!isNew) first = entry->second;
      } else {
        for (std::size_t i = 0; i < kept; ++i) {
          if (node.members[i].key.text == member.key.text) first = i;
        }
      }
      if (first != kept) {
        fail(member.key, "given twice; the first is at " +
                             diagnostics_.placeText(node.members[first].key.place));
        continue;
      }
      if (&node.members[kept] != &member) node.members[kept] = std::move(member);
      ++kept;
    }
    node.members.resize(kept);
  }

  bool unknownPart(const Member& member, bool ofSwitch) {
    std::vector<std::string_view> known;
    if (!ofSwitch) known.push_back(switchPart);
    for (const Part& part : parts()) {
      if (part.ofSwitch == ofSwitch) known.push_back(part.name);
    }
    return unknown(member, known);
  }

  bool unknown(const Member& member, const std::vector<std::string_view>& known) {
    const std::string meant = didYouMean(member.key.text, known);
    return fail(member.key, "unknown key" + (meant.empty() ? "; known are " + list(known) : meant));
  }

  void switchPartOf(Node& node) {
    if (!isMapping(node)) return;
    keepUnique(node, [this](Member& member) {
      const Part* const known = partOf(member.key.text, true);
      return known != nullptr ? part(member.value, *known) : unknownPart(member, true);
    });
  }

  bool part(Node& node, const Part& part) {
    if (part.isSource) return sources(node, *part.object);
    if (part.attribute == nullptr) return object(node, *part.object, {});
    return attribute(node, *part.attribute, part.object);
  }

  bool sources(Node& node, const ObjectSchema& schema) {
    if (!isMapping(node)) return false;
    keepUnique(node, [this, &schema](Member& member) {
      if (!scalar(member.key, Kiv::valueDataOf<Pith::String>(), true)) return false;
      if (!object(member.value, schema, member.key.text)) return false;
      classMaps(member.value);
      return true;
    });
    return true;
  }

  // Nothing is an empty mapping: "web:" in YAML.
  bool isMapping(Node& node) {
    if (node.kind == Kind::null) node.kind = Kind::mapping;
    if (node.kind == Kind::mapping) return true;
    return fail(node, "a mapping is wanted, not " + std::string(kindName(node.kind)));
  }

  bool object(Node& node, const ObjectSchema& schema, std::string_view name) {
    if (!isMapping(node)) return false;
    keepUnique(node, [this, &schema](Member& member) {
      const FieldSchema* const field = schema.field(member.key.text);
      if (field == nullptr) {
        std::vector<std::string_view> known;
        for (const FieldSchema& each : schema.fields) known.push_back(each.name);
        return unknown(member, known);
      }
      if (field->attribute == nullptr) return interfaces(member.value);
      return attribute(member.value, *field->attribute, field->child);
    });
    if (schema.holder != nullptr) {
      Node inner{Kind::mapping, node.place, name, std::move(node.members)};
      node.members.clear();
      node.members.push_back({named(schema.holder->name, node.place), std::move(inner)});
    }
    return true;
  }

  static Node named(std::string_view name, const Place& place) {
    return {Kind::string, place, name, {}};
  }

  bool attribute(Node& node, const Kiv::AttributeData& attribute, const ObjectSchema* child) {
    switch (attribute.kind) {
      case AttributeKind::value:
        return value(node, *attribute.value);
      case AttributeKind::set:
        return set(node, *attribute.key);
      case AttributeKind::collection:
        return collection(node, attribute);
      case AttributeKind::children:
        return children(node, attribute, *child);
      case AttributeKind::child:
        if (!object(node, *child, attribute.name)) return false;
        node.text = attribute.name;
        return true;
      default:
        return fail(node, "cannot be written");
    }
  }

  bool value(Node& node, const Kiv::ValueData& data) {
    return data.kind == Kiv::ValueData::Kind::record ? record(node, data)
                                                     : scalar(node, data, false);
  }

  bool scalar(Node& node, const Kiv::ValueData& data, bool isKey) {
    using ValueKind = Kiv::ValueData::Kind;
    if (!isKey) {
      bool fits = node.kind == Kind::string || node.kind == Kind::number;
      if (data.kind == ValueKind::boolean) fits = node.kind == Kind::boolean;
      if (data.kind == ValueKind::integer) fits = node.kind == Kind::number;
      if (!fits) {
        return fail(node, wantedText(data) + " is wanted, not " +
                              (node.kind == Kind::boolean ? inQuotes(node.text)
                                                          : std::string(kindName(node.kind))));
      }
    } else if (!node.isScalar()) {
      return fail(node, wantedText(data) + " is wanted as the key");
    }
    if (!canonicalText(data, node.text, text_)) {
      return fail(node, inQuotes(node.text) + " is not " + wantedText(data) +
                            didYouMean(node.text, data.names));
    }
    if (text_ != node.text) node.text = document_.keep(text_);
    return true;
  }

  bool record(Node& node, const Kiv::ValueData& data) {
    if (node.kind != Kind::mapping) {
      std::vector<std::string_view> names;
      for (const auto& field : data.fields) names.push_back(field.name);
      return fail(node, "a mapping of " + list(names) + " is wanted, not " +
                            std::string(kindName(node.kind)));
    }
    const std::size_t errors = diagnostics_.errors();
    keepUnique(node, [this, &data](Member& member) {
      for (const auto& field : data.fields) {
        if (field.name == member.key.text) return scalar(member.value, *field.value, false);
      }
      std::vector<std::string_view> known;
      for (const auto& field : data.fields) known.push_back(field.name);
      return unknown(member, known);
    });
    std::string text;
    for (const auto& field : data.fields) {
      const Node* const given = node.find(field.name);
      if (given == nullptr && isRequired(field.name) && errors == diagnostics_.errors()) {
        fail(node, "\"" + std::string(field.name) + "\" is missing, " + wantedText(*field.value));
      }
      appendField(text, field.name,
                  given != nullptr ? std::string(given->text) : defaultText(*field.value));
    }
    node.text = document_.keep(text);
    return errors == diagnostics_.errors();
  }

  bool set(Node& node, const Kiv::ValueData& data) {
    if (node.kind == Kind::null) node.kind = Kind::sequence;
    if (node.kind != Kind::sequence) {
      return fail(node, "a list is wanted, not " + std::string(kindName(node.kind)));
    }
    for (Member& member : node.members) std::swap(member.key, member.value);
    keepUnique(node, [this, &data](Member& member) { return scalar(member.key, data, false); });
    return true;
  }

  bool collection(Node& node, const Kiv::AttributeData& attribute) {
    if (!isMapping(node)) return false;
    keepUnique(node, [this, &attribute](Member& member) {
      return scalar(member.key, *attribute.key, true) && value(member.value, *attribute.value);
    });
    return true;
  }

  bool children(Node& node, const Kiv::AttributeData& attribute, const ObjectSchema& child) {
    if (!isMapping(node)) return false;
    keepUnique(node, [this, &attribute, &child](Member& member) {
      return scalar(member.key, *attribute.key, true) &&
             object(member.value, child, member.key.text);
    });
    return true;
  }

  // A list of interfaces, or a mapping from each to the list of its VLAN ranges; becomes the
  // entries of a class map.
  bool interfaces(Node& node) {
    const Kiv::AttributeData& entries =
        *Firewall::ClassMapFirewall::staticTypeData().attribute("intfVlanData");
    const Kiv::AttributeData& ranges =
        *Firewall::IntfVlanRangeSet::staticTypeData().attribute("vlanRange");
    if (node.kind == Kind::null) node.kind = Kind::sequence;
    if (node.isScalar()) {
      return fail(node,
                  "a list of interfaces, or a mapping from interfaces to VLAN ranges, is "
                  "wanted, not " +
                      std::string(kindName(node.kind)));
    }
    const bool isList = node.kind == Kind::sequence;
    if (isList) {
      for (Member& member : node.members) std::swap(member.key, member.value);
    }
    keepUnique(node, [&](Member& member) {
      if (!scalar(member.key, *entries.key, !isList)) return false;
      Node given = std::exchange(member.value, {Kind::mapping, member.key.place, {}, {}});
      if (isList || !set(given, *ranges.key)) return isList;
      member.value.members.push_back({named(ranges.name, given.place), std::move(given)});
      return true;
    });
    node.kind = Kind::mapping;
    return true;
  }

  // The class maps that the interfaces of a source's segments make.
  void classMaps(Node& source) {
    Node maps{Kind::mapping, source.place, {}, {}};
    if (Node* const vrfs = source.find("vrf")) {
      const DocumentPath::Step inVrfs(path_, "vrf");
      for (Member& vrf : vrfs->members) {
        const DocumentPath::Step inVrf(path_, vrf.key.text);
        const std::string_view name = vrf.key.text;
        if ((std::string(name) + "_segment_").find("_segment_") != name.size()) {
          const bool isHeld = name.find("_segment_") != std::string_view::npos;
          fail(vrf.key, std::string("a VRF whose name ") +
                            (isHeld ? "holds \"_segment_\"" : "ends in \"_segment\"") +
                            " cannot have segments; rename it");
          continue;
        }
        segments(
            vrf.value, maps,
            [name](const Pith::String& segment) {
              return Firewall::vrfSegmentClassMap(L3::VrfName(name), segment);
            },
            false);
      }
    }
    if (Node* const directory = source.find("l2SegmentDir")) {
      const DocumentPath::Step inDirectory(path_, "l2SegmentDir");
      segments(*directory, maps, Firewall::l2SegmentClassMap, true);
    }
    if (!maps.members.empty()) {
      source.members.push_back({named("classMap", source.place), std::move(maps)});
    }
  }

  template <class ClassName>
  void segments(Node& directory, Node& maps, const ClassName& className, bool isL2) {
    Node* const all = directory.find("segment");
    if (all == nullptr) return;
    const DocumentPath::Step inSegments(path_, "segment");
    for (Member& segment : all->members) {
      const DocumentPath::Step inSegment(path_, segment.key.text);
      for (Member& field : segment.value.members) {
        if (field.key.text != interfacesField) continue;
        const DocumentPath::Step inField(path_, interfacesField);
        if (!isL2) refuseVlans(field.value);
        const std::string_view name =
            document_.keep(className(Pith::String(segment.key.text)).view());
        Node entries = std::move(field.value);
        Node map{Kind::mapping, field.key.place, {}, {}};
        map.members.push_back({named("intfVlanData", entries.place), std::move(entries)});
        maps.members.push_back({named(name, field.key.place), std::move(map)});
        field.key.text = "className";
        field.value = named(name, field.key.place);
      }
    }
  }

  void refuseVlans(const Node& entries) {
    for (const Member& intf : entries.members) {
      const DocumentPath::Step inIntf(path_, intf.key.text);
      for (const Member& ranges : intf.value.members) {
        if (ranges.value.members.empty()) continue;
        fail(ranges.value,
             "VLAN ranges belong to segments of l2SegmentDir; an interface of a VRF's segment is "
             "taken whole");
      }
    }
  }

  Document& document_;
  Diagnostics& diagnostics_;
  DocumentPath path_;
  std::string text_;  // scratch
};

}  // namespace

void check(Document& document, Diagnostics& diagnostics) {
  Checker(document, diagnostics).root(document.root);
}

}  // namespace Agent
