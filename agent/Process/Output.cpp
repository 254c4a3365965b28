#include "agent/Process/Output.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iostream>

#include "agent/Process/ExitStatus.h"

namespace Agent {

int fail(int status, std::string_view text) {
  std::cerr << "fwagent: " << text << '\n';
  return status;
}

int writeOutput(const std::string& text, const std::string& file) {
  if (file.empty() || file == "-") {
    std::cout << text << std::flush;
    return std::cout ? done : fail(unreachable, "standard output cannot be written");
  }
  std::ofstream out(file, std::ios::binary);
  out << text << std::flush;
  return out ? done : fail(unreachable, file + ": cannot be written");
}

bool isColored(const CommonOptions& options, int stream) {
  if (options.color != "auto") return options.color == "always";
  const char* const noColor = std::getenv("NO_COLOR");  // no-color.org
  if (noColor != nullptr && *noColor != '\0') return false;
  return isatty(stream) == 1;
}

TextStyle textStyle(const CommonOptions& options, bool all) {
  TextStyle style;
  style.all = all;
  style.color = isColored(options, STDOUT_FILENO);
  winsize size{};
  const char* const columns = std::getenv("COLUMNS");
  const int given = columns == nullptr ? 0 : std::atoi(columns);
  if (given > 0) {
    style.width = static_cast<std::size_t>(given);
  } else if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
    style.width = size.ws_col;
  }
  style.width = std::max<std::size_t>(style.width, 40);
  return style;
}

Diagnostics::Style messageStyle(const CommonOptions& options) {
  Diagnostics::Style style;
  style.maxErrors = options.maxErrors;
  style.color = isColored(options, STDERR_FILENO);
  style.warnings = !options.quiet || options.strict;
  style.summary = !options.quiet;
  return style;
}

}  // namespace Agent
