// The flight recorder: every trace of a long time, in a ring, for almost nothing.
//
//   Fleetlog::TraceFile file("/var/log/agent.trace");
//   Fleetlog::traceFileIs(&file);
//   Fleetlog::levelIs("Firewall/*", 6);        // all levels, 0 to 9, where nothing is set
//
// and later, also while it is being written: fleetlog /var/log/agent.trace
//
// Trace sites use the macros of framework/Twinlog/Twinlog.h. While no trace file is attached,
// recording is off. A failed assertion flushes the file.
#pragma once

#include <string_view>

#include "framework/Fleetlog/TraceFile.h"
#include "framework/Pith/Export.h"
#include "framework/Pith/TraceFacility.h"

namespace Fleetlog {

namespace Impl {
PITH_EXPORT extern constinit TraceFile* attached;
}  // namespace Impl

// The caller keeps the file for as long as it is attached. nullptr switches recording off.
PITH_EXPORT void traceFileIs(TraceFile* file);
inline TraceFile* traceFile() noexcept { return Impl::attached; }

// With the patterns of Pith::TraceControl.
PITH_EXPORT void levelIs(std::string_view pattern, int level);
PITH_EXPORT int level(std::string_view facility);

// Waits until the attached file is on its medium.
PITH_EXPORT void flush() noexcept;

// Writes a message of a text that is formatted already. Each pair of level and function gets a
// descriptor of its own, which is looked up: this is for few texts.
PITH_EXPORT void writeText(const Pith::TraceFacility& facility, int level,
                           std::string_view function, std::string_view text);

}  // namespace Fleetlog
