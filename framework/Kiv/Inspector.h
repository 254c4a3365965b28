// Any object tree by path and text.
//
//   Kiv::Inspector inspector(*config);
//   inspector.write("policy/web", "");         // creates the policy
//   inspector.write("policy/web/rule/10", "service=https,action=forward");
//   inspector.write("enabled", "true");
//   inspector.print(std::cout);                // policy/web/rule/10 = service=https,action=...
//
// A path (Path.h) is the attributes' names and the entries' keys, joined by "/". It ends at a value
// ("enabled"), an entry ("policy/web", "vrf/red/prefix/10.0.0.0%2F8") or, for erase, a whole
// collection ("policy").
//
// Every write goes through the attribute's mutator and notifies. Errors are Pith::RangeExceptions
// that name the path or the attribute and what would be right, raised before anything has changed.
//
// The tree may change while it is walked, by each() or print(), as a collection may.
#pragma once

#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>

#include "framework/Kiv/Object.h"
#include "framework/Kiv/TypeData.h"
#include "framework/Pith/Export.h"
#include "framework/Pith/Ptr.h"

namespace Kiv {

class PITH_EXPORT Inspector {
 public:
  explicit Inspector(Object& top) : top_(&top) {}

  // The object at the path, the top itself for the empty path; null when there is none. Raises when
  // a step names no child of its object.
  Object* find(std::string_view path) const { return objectAt(*top_, path); }

  // The value as text; none when there is no such entry. A single child reads as its name, one
  // under a key, or a member of a set, as the empty text: what write() takes to make it.
  std::optional<std::string> read(std::string_view path) const;
  // Sets a value, or adds or changes an entry; the objects on the way must be there.
  void write(std::string_view path, std::string_view text) const;
  // Removes an entry, or all entries of a collection. What is not there is not an error.
  void erase(std::string_view path) const;

  // Calls visit(path, text) for every value and entry, children before what is below them: writing
  // them in this order makes the same tree.
  using Visit = std::function<void(std::string_view path, std::string_view text)>;
  void each(const Visit& visit) const;

  // One line for each, "path = text"; the path alone for what has no text. Control characters are
  // shown as \xNN.
  void print(std::ostream& out) const;

 private:
  Pith::Ptr<Object> top_;
};

}  // namespace Kiv
