// Text that comes from outside, made fit for one line of a terminal or log.
#pragma once

#include <string>
#include <string_view>

#include "framework/Pith/Export.h"

namespace Pith {

// Appends `text` with its control characters (below 0x20, and 0x7F) as \xNN. Other bytes, those of
// UTF-8 among them, stay as they are.
PITH_EXPORT void appendPrintable(std::string& out, std::string_view text);

}  // namespace Pith
