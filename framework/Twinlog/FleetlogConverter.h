// Turns text that is formatted already into messages of the flight recorder.
//
//   Twinlog::FleetlogConverter converter(facility, 6, "summary");
//   Kiv::TraceStream text;
//   text << "segments: " << count;
//   converter.put(text);
//
// The message has the facility, level and function of the converter and the stream's text, cut as
// RingBuf cuts texts. Nothing is written while the recorder does not want the level. The levelled
// trace is not touched. Pith::fmtrace takes the same way.
#pragma once

#include <string>
#include <string_view>

#include "framework/Kiv/TraceStream.h"
#include "framework/Pith/Export.h"
#include "framework/Twinlog/Twinlog.h"

namespace Twinlog {

class PITH_EXPORT FleetlogConverter {
 public:
  FleetlogConverter(Facility& facility, int level, std::string_view function)
      : facility_(facility), level_(level), function_(function) {}

  void put(const Kiv::TraceStream& text) const;

 private:
  Facility& facility_;
  int level_;
  std::string function_;
};

}  // namespace Twinlog
