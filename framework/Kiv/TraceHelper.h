// The levelled trace: texts for people, as they happen.
//
//   Kiv::TraceHelper::sinkIs(Kiv::TraceHelper::standardErrorSink());
//   Kiv::TraceHelper::levelIs("Firewall/*", 8);
//
// The host chooses where traces go and how much of each facility (source module) it wants: levels 0
// to 9, more detail above, -1 for nothing, and 0 where nothing is set. Without a sink no trace is
// formatted, whatever the levels.
//
// Trace sites do not call this but the macros of framework/Twinlog/Twinlog.h, which write to the
// flight recorder too. Levels are those of Pith::TraceControl, with its rules for patterns.
//
// While a sink runs, other traces are left out, so that it never receives its own. It may set
// another sink. What it throws reaches the trace site.
#pragma once

#include <functional>
#include <string_view>

#include "framework/Pith/Export.h"
#include "framework/Pith/TraceFacility.h"

namespace Kiv {

class PITH_EXPORT TraceHelper {
 public:
  // Valid during the call of the sink.
  struct Record {
    std::string_view facility;  // "Firewall/FirewallConfigSm"
    int level;
    std::string_view function;  // "handlePolicy"
    std::string_view text;      // ": web", blanks included
  };
  using Sink = std::function<void(const Record&)>;

  // Replaces the sink, with an empty one by none. Returns the one before.
  static Sink sinkIs(Sink sink);
  // Writes lines such as "8 Firewall/FirewallConfigSm [handlePolicy] : web" to standard error,
  // control characters of the text as \xNN.
  static Sink standardErrorSink();

  static void levelIs(std::string_view pattern, int level);
  static int level(std::string_view facility);

  // Hands a record to the sink.
  static void write(const Pith::TraceFacility& facility, int level, std::string_view function,
                    std::string_view text);
};

}  // namespace Kiv
