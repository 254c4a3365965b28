// Invariants: on in every build, because a table that is wrong must not reach the hardware.
//
//   PITH_ASSERT(count_ > 0);
//   PITH_ASSERT_TEXT(vrf, "fwVrf && \" fwVrf not found\"");   // a text that people search logs for
//
// A failure writes the text, the file and the line to standard error, runs the last-words functions
// (the flight recorder flushes itself in one) and ends the process with abort().
#pragma once

#include "framework/Pith/Export.h"

namespace Pith {

// Ends the process; never returns and never throws.
[[noreturn]] PITH_EXPORT void assertFailed(const char* text, const char* file, int line) noexcept;

// Adds a function to be run once, before the process ends, when an assertion fails. At most 8; a
// failure inside one of them ends the process at once. Adding the same function again does nothing.
using LastWords = void (*)() noexcept;
PITH_EXPORT void lastWordsAdd(LastWords function) noexcept;

}  // namespace Pith

#define PITH_ASSERT_TEXT(condition, text) \
  ((condition) ? static_cast<void>(0) : ::Pith::assertFailed(text, __FILE__, __LINE__))
#define PITH_ASSERT(condition) PITH_ASSERT_TEXT(condition, #condition)
