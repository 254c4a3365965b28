// The base of store objects and reactors: a counted node that knows its type and can be referred to
// in text.
//
// The text form of a reference is "/", the type's name, "@" and a number that the object gets when
// it is first written so: "/Firewall::ActiveWorkManager@3". A store object that another one owns is
// written by its path below the topmost owner: "/Firewall::HwConfig@1/vrf/red/segment/web". Reading
// it gives the object that is there, and a RangeException when there is none any more. Null is the
// empty text. An object that was never written as text costs nothing.
#pragma once

#include <string>
#include <string_view>

#include "framework/Kiv/Path.h"
#include "framework/Pith/Export.h"
#include "framework/Pith/Node.h"

namespace Kiv {

struct TypeData;

class PITH_EXPORT Object : public Pith::Node {
 public:
  virtual const TypeData& typeData() const = 0;

  // The object that owns this one; null at the top and for what nobody owns (any more).
  Object* parent() const noexcept { return parent_; }
  // The path of a store object below its parent, "attribute/key" or "attribute" for a single child.
  // Empty without parent, and for a reactor.
  virtual std::string step() const { return {}; }

 protected:
  Object() = default;
  ~Object() override;

 private:
  friend class ReferenceTable;
  friend class ParentLink;

  bool numbered_ = false;  // was written as text
  Object* parent_ = nullptr;
};

// The object at the path (Path.h) below `top`; null when there is none. Raises RangeException when
// a step names no child of its object or is no key of one.
PITH_EXPORT Object* objectAt(Object& top, std::string_view path);

}  // namespace Kiv
