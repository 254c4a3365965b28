// Where texts go, and how they look there: data to standard output or a file, messages to standard
// error.
#pragma once

#include <string>
#include <string_view>

#include "agent/Document/Diagnostics.h"
#include "agent/Process/CommonOptions.h"
#include "agent/View/Table.h"

namespace Agent {

// "fwagent: text" on standard error; returns the status.
int fail(int status, std::string_view text);
// To the file, or to standard output where the name is empty or "-". Returns the status.
int writeOutput(const std::string& text, const std::string& file);

// Whether to colour what goes to the stream (1 or 2): --color, then NO_COLOR, then a terminal.
bool isColored(const CommonOptions& options, int stream);
// For standard output, as wide as COLUMNS or the terminal says. All: long lists are not cut.
TextStyle textStyle(const CommonOptions& options, bool all);
Diagnostics::Style messageStyle(const CommonOptions& options);

}  // namespace Agent
