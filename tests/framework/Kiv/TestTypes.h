// Store types with every kind of attribute, and nothing that a feature needs.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "framework/Kiv/Entity.h"
#include "framework/Kiv/Optional.h"
#include "framework/Pith/Ptr.h"
#include "framework/Pith/String.h"

namespace KivTest {

enum class Color : std::uint8_t { red, green, blue };
constexpr std::array<std::string_view, 3> enumNames(Color /*any*/) {
  return {"red", "green", "blue"};
}

class Leaf : public Kiv::Entity {
  KIV_ENTITY(Leaf, Kiv::Entity)
  KIV_KEY(Leaf, Pith::String, name)
  KIV_VALUE(std::uint32_t, number)
  KIV_VALUE(Pith::Ptr<Leaf>, next)
};

struct Link {
  Pith::Ptr<Leaf> leaf;
  Pith::Ptr<const Leaf> other;
  bool strict = false;
  KIV_FIELDS(leaf, other, strict)
  bool operator==(const Link&) const = default;
};

struct Record {
  Pith::String name;
  std::uint16_t number = 0;
  Color color = Color::red;
  Kiv::Optional<std::uint8_t> maybe;
  KIV_FIELDS(name, number, color, maybe)
  bool operator==(const Record&) const = default;
};

class Box : public Kiv::Entity {
  KIV_ENTITY(Box, Kiv::Entity)
  KIV_VALUE(bool, flag)
  KIV_VALUE(std::uint32_t, number)
  KIV_VALUE(std::int8_t, small)
  KIV_VALUE(Pith::String, text)
  KIV_VALUE(Color, color)
  KIV_VALUE(Kiv::Optional<std::uint16_t>, maybe)
  KIV_VALUE(Record, record)
  KIV_VALUE(Pith::Ptr<Leaf>, link)
  KIV_SET(Pith::String, names)
  KIV_ORDERED_SET(std::uint32_t, numbers)
  KIV_MAP(Pith::String, Record, records)
  KIV_MAP(Pith::String, Link, links)
  KIV_ORDERED_MAP(std::uint32_t, Pith::String, steps)
  KIV_CHILD(Leaf, single)
  KIV_CHILDREN(Pith::String, Leaf, leaves)
  KIV_ORDERED_CHILDREN(Pith::String, Leaf, sortedLeaves)
};

// Two levels of owners, with links that cross them.
class Branch : public Kiv::Entity {
  KIV_ENTITY(Branch, Kiv::Entity)
  KIV_KEY(Branch, Pith::String, name)
  KIV_VALUE(std::uint32_t, number)
  KIV_VALUE(Pith::Ptr<Branch>, neighbour)
  KIV_MAP(Pith::String, Link, links)
  KIV_ORDERED_CHILDREN(Pith::String, Leaf, leaves)
  KIV_CHILD(Leaf, tip)
};

class Tree : public Kiv::Entity {
  KIV_ENTITY(Tree, Kiv::Entity)
  KIV_CHILDREN(Pith::String, Branch, branches)
  KIV_CHILD(Branch, trunk)
};

// Has the attributes of its base, and one more.
class NamedBox : public Box {
  KIV_ENTITY(NamedBox, Box)
  KIV_VALUE(Pith::String, label)
};

}  // namespace KivTest
