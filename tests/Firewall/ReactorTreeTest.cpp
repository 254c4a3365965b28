// The tree of reactors, as the type tables have it: ARCHITECTURE.md shows it, and a full
// configuration has all of it.
#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "Firewall/Sources/RootDirSm.h"
#include "tests/support/FullConfiguration.h"

namespace {

using Kiv::AttributeData;
using Kiv::AttributeKind;
using Kiv::TypeData;

std::string shortName(const TypeData& type) {
  return std::string(type.name.substr(std::string("Firewall::").size()));
}

bool isChild(const AttributeData& attribute) {
  return attribute.kind == AttributeKind::child || attribute.kind == AttributeKind::children;
}

std::vector<const AttributeData*> childrenOf(const TypeData& type) {
  std::vector<const AttributeData*> children;
  for (const AttributeData& attribute : type.attributes) {
    if (isChild(attribute)) children.push_back(&attribute);
  }
  return children;
}

// Lines of "attribute: type", with "[]" behind the name of a collection. A type that was drawn
// already is named alone.
void draw(const TypeData& type, const std::string& indent, std::set<std::string>& drawn,
          std::string& out) {
  const auto children = childrenOf(type);
  for (const AttributeData* const attribute : children) {
    const bool isLast = attribute == children.back();
    out += indent + (isLast ? "└─ " : "├─ ") + std::string(attribute->name);
    out += attribute->kind == AttributeKind::children ? "[]: " : ": ";
    if (attribute->childType == nullptr) {
      out += "of the sibling library\n";
      continue;
    }
    const TypeData& child = attribute->childType();
    out += shortName(child);
    const bool isNew = drawn.insert(shortName(child)).second;
    out += isNew ? "\n" : ", as above\n";
    if (isNew) draw(child, indent + (isLast ? "   " : "│  "), drawn, out);
  }
}

struct Tree {
  std::string text = "RootDirSm\n";
  std::set<std::string> types = {"RootDirSm"};
};

Tree tree() {
  Tree tree;
  draw(Firewall::RootDirSm::staticTypeData(), "", tree.types, tree.text);
  return tree;
}

// The types of the reactor and of all below it whose type its owner declares.
void collectAlive(const Kiv::Object& reactor, std::set<std::string>& types) {
  types.insert(shortName(reactor.typeData()));
  for (const AttributeData* const attribute : childrenOf(reactor.typeData())) {
    if (attribute->childType == nullptr) continue;
    attribute->each(reactor, [&types](const auto&, const auto&, const Kiv::Object* child) {
      if (child != nullptr) collectAlive(*child, types);
    });
  }
}

TEST(ReactorTree, IsThatOfTheArchitecturePage) {
  std::ifstream file("ARCHITECTURE.md");
  std::stringstream page;
  page << file.rdbuf();
  const std::string wanted = "<!-- tree of reactors: from the type tables -->\n```\n" +
                             tree().text + "```\n<!-- end of tree of reactors -->\n";
  EXPECT_NE(page.str().find(wanted), std::string::npos)
      << "the tree has changed; ARCHITECTURE.md has to show it so:\n"
      << wanted;
}

using ReactorTreeTest = TestSupport::SwitchTest;

TEST_F(ReactorTreeTest, AFullConfigurationHasEveryReactorOfIt) {
  TestSupport::shareConfiguration(sw());
  TestSupport::fullSource(sw(), "cli")->enabledIs(true);
  sw().start();
  std::set<std::string> alive;
  collectAlive(*sw().root, alive);
  EXPECT_EQ(alive, tree().types);
}

}  // namespace
