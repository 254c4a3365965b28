#include "framework/Kiv/Inspector.h"

#include <ostream>

#include "framework/Pith/Printable.h"

namespace Kiv {
namespace {

// Where a path leads: an attribute of an object and, where the path has one, the key of an entry.
struct Place {
  Object* object;
  const AttributeData* attribute;
  std::optional<std::string> key;
};

[[noreturn]] void throwNoSuch(std::string_view path, std::string_view wanted) {
  Impl::throwBadText("path", path, wanted);
}

std::string quoted(std::string_view text) { return '"' + std::string(text) + '"'; }

bool isKeyed(const AttributeData& attribute) { return attribute.key != nullptr; }

Place placeOf(Object& top, std::string_view text) {
  Path path(text);
  if (path.atEnd()) throwNoSuch(text, "the name of an attribute");
  Place place{&top, nullptr, std::nullopt};
  while (true) {
    const TypeData& type = place.object->typeData();
    const std::string_view name = path.step();
    place.attribute = type.attribute(name);
    if (place.attribute == nullptr) {
      throwNoSuch(text, "an attribute of " + std::string(type.name) + ", not " + quoted(name));
    }
    place.key.reset();
    if (isKeyed(*place.attribute) && !path.atEnd()) place.key = pathKeyFromText(path.step());
    if (path.atEnd()) return place;
    if (place.attribute->child == nullptr) throwNoSuch(text, "a path that ends at " + quoted(name));
    place.object = place.attribute->child(*place.object, place.key.value_or(""));
    if (place.object == nullptr) {
      throwNoSuch(text, "an existing object before " + quoted(path.rest()));
    }
  }
}

void eachBelow(const Object& object, const std::string& prefix, const Inspector::Visit& visit) {
  for (const AttributeData& attribute : object.typeData().attributes) {
    attribute.each(object, [&](std::string_view key, std::string_view text, const Object* child) {
      const Pith::Ptr<const Object> alive(child);  // visit() may remove it
      std::string path = prefix + std::string(attribute.name);
      if (isKeyed(attribute)) {
        path.push_back('/');
        appendPathKey(path, key);
      }
      visit(path, text);
      if (child != nullptr) eachBelow(*child, path + "/", visit);
    });
  }
}

}  // namespace

std::optional<std::string> Inspector::read(std::string_view path) const {
  const Place place = placeOf(*top_, path);
  if (isKeyed(*place.attribute) && !place.key) throwNoSuch(path, "a key behind the collection");
  if (place.attribute->read != nullptr) {
    return place.attribute->read(*place.object, place.key.value_or(""));
  }
  const Object* const child = place.attribute->child(*place.object, place.key.value_or(""));
  return child == nullptr ? std::nullopt : std::optional<std::string>("");
}

void Inspector::write(std::string_view path, std::string_view text) const {
  const Place place = placeOf(*top_, path);
  if (isKeyed(*place.attribute) && !place.key) throwNoSuch(path, "a key behind the collection");
  if (place.attribute->write == nullptr) throwNoSuch(path, "an attribute that can be written");
  place.attribute->write(*place.object, place.key.value_or(""), text);
}

void Inspector::erase(std::string_view path) const {
  const Place place = placeOf(*top_, path);
  if (place.attribute->erase == nullptr) throwNoSuch(path, "an entry or a collection");
  if (isKeyed(*place.attribute) && !place.key) {
    place.attribute->eraseAll(*place.object);
  } else {
    place.attribute->erase(*place.object, place.key.value_or(""));
  }
}

void Inspector::each(const Visit& visit) const { eachBelow(*top_, {}, visit); }

void Inspector::print(std::ostream& out) const {
  each([&out](std::string_view path, std::string_view text) {
    std::string line;
    Pith::appendPrintable(line, path);
    if (!text.empty()) {
      line.append(" = ");
      Pith::appendPrintable(line, text);
    }
    out << line << '\n';
  });
}

}  // namespace Kiv
