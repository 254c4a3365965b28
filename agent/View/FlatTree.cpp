#include "agent/View/FlatTree.h"

#include <algorithm>

#include "agent/View/Text.h"
#include "framework/Kiv/Path.h"
#include "framework/Kiv/TypeData.h"

namespace Agent {
namespace {

void collect(const Kiv::Object& object, const std::string& prefix, FlatTree& tree) {
  for (const Kiv::AttributeData& attribute : object.typeData().attributes) {
    attribute.each(object,
                   [&](std::string_view key, std::string_view text, const Kiv::Object* child) {
                     std::string path = prefix + std::string(attribute.name);
                     if (attribute.key != nullptr) {
                       path.push_back('/');
                       Kiv::appendPathKey(path, key);
                     }
                     const bool isValue = child == nullptr && attribute.value != nullptr;
                     std::string value = isValue ? valueText(*attribute.value, text) : "there";
                     if (child != nullptr) collect(*child, path + "/", tree);
                     const bool isEntry = child != nullptr || attribute.key != nullptr;
                     tree.emplace(std::move(path), FlatValue{std::move(value), isEntry});
                   });
  }
}

}  // namespace

bool PathOrder::operator()(std::string_view a, std::string_view b) const noexcept {
  return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
    const auto rank = [](char character) {
      return character == '/' ? 0 : static_cast<int>(static_cast<unsigned char>(character)) + 1;
    };
    return rank(x) < rank(y);
  });
}

FlatTree flatTree(const Kiv::Object& object, const std::string& prefix) {
  FlatTree tree;
  collect(object, prefix, tree);
  return tree;
}

bool isAtOrBelow(std::string_view path, std::string_view above) noexcept {
  return path.substr(0, above.size()) == above &&
         (path.size() == above.size() || path[above.size()] == '/');
}

}  // namespace Agent
