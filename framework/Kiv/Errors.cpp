#include "framework/Kiv/Errors.h"

namespace Kiv {

ReinstantiationError::~ReinstantiationError() = default;
DeserializationError::~DeserializationError() = default;

namespace Impl {

void throwMutatorReinstantiating(std::string_view type, std::string_view attribute) {
  std::string text(type);
  text.append("::").append(attribute);
  text.append(" differs from the one the object was created with: delete the object first");
  throw ReinstantiationError(text);
}

void throwDeserializing(std::string_view attribute, std::string_view why) {
  std::string text("cannot read attribute \"");
  text.append(attribute).append("\": ").append(why);
  throw DeserializationError(text);
}

}  // namespace Impl
}  // namespace Kiv
