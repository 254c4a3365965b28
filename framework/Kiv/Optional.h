// A value that may be absent. Reading an absent one raises the standard "bad optional access".
#pragma once

#include <optional>

namespace Kiv {

template <class T>
using Optional = std::optional<T>;

}  // namespace Kiv
