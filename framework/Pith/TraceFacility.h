// A source module as the trace facilities know it, and the levels up to which it is traced.
//
//   inline constinit Pith::TraceFacility facility("Firewall/FirewallConfigSm");
//   if (facility.enabled(8)) ...                       // one load, one comparison
//   TraceControl::levelIs(TraceConsumer::helper, "Firewall/*", 5);
//
// Two consumers receive traces, the levelled trace (Kiv::TraceHelper) and the flight recorder
// (Fleetlog). Each has a level for every facility, 0 to 9, more detail above, and `traceOff`. The
// facility keeps both, and the higher of them for the check at the trace site. Setting a level or
// switching a consumer on or off visits all facilities; a trace site never looks anything up.
//
// A facility is a global or static object. It joins the list of facilities at the first check that
// finds it, and leaves it when it is destroyed, so that a library may be unloaded. All of this
// belongs to the event thread.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "framework/Pith/Export.h"

namespace Pith {

inline constexpr int traceOff = -1;
inline constexpr int traceLevelMax = 9;

enum class TraceConsumer : std::uint8_t { helper, recorder };
inline constexpr std::size_t traceConsumerCount = 2;

class PITH_EXPORT TraceFacility {
 public:
  constexpr explicit TraceFacility(const char* name) noexcept : name_(name) {}
  TraceFacility(const TraceFacility&) = delete;
  TraceFacility& operator=(const TraceFacility&) = delete;
  ~TraceFacility();

  const char* name() const noexcept { return name_; }
  // Whether any consumer wants traces of this level.
  bool enabled(int level) noexcept {
    if (level > highest_) [[likely]]
      return false;
    return highest_ != unsettled || settle(level);
  }
  // Whether this one does; to be asked when enabled() said yes.
  bool enabled(TraceConsumer consumer, int level) const noexcept {
    return level <= levels_[static_cast<std::size_t>(consumer)];
  }

 private:
  friend class TraceControl;

  static constexpr std::int8_t unsettled = 127;

  // Joins the list of facilities and takes over the levels that are set.
  bool settle(int level) noexcept;
  void levelsUpdate() noexcept;

  const char* name_;
  TraceFacility* next_ = nullptr;
  std::int8_t highest_ = unsettled;
  std::array<std::int8_t, traceConsumerCount> levels_{traceOff, traceOff};
};

// What the host and the consumers set.
class PITH_EXPORT TraceControl {
 public:
  // Receives a text that is formatted already.
  using Writer = void (*)(const TraceFacility& facility, int level, std::string_view function,
                          std::string_view text);
  struct Setting {
    std::string pattern;
    int level;
  };

  // Sets the level of all facilities that `pattern` matches: a whole name, the beginning of names
  // followed by '*', or "*". Of several patterns that match, a whole name decides, else the
  // longest, and of equal ones the last. Costs a visit to every facility. RangeException when the
  // level is not -1 (off) to 9, or the pattern has a '*' before its end.
  static void levelIs(TraceConsumer consumer, std::string_view pattern, int level);
  // The level that is set for a name; 0 (levelled trace) or 9 (recorder) where nothing matches.
  static int level(TraceConsumer consumer, std::string_view name);
  static const std::vector<Setting>& settings(TraceConsumer consumer);
  static void settingsAre(TraceConsumer consumer, std::vector<Setting> settings);

  // Switches a consumer on, or off with nullptr: then its traces cost nothing.
  static void writerIs(TraceConsumer consumer, Writer writer);
  static Writer writer(TraceConsumer consumer);

 private:
  static void facilitiesUpdate();
};

}  // namespace Pith
