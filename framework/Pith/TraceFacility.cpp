#include "framework/Pith/TraceFacility.h"

#include <algorithm>
#include <utility>

#include "framework/Pith/RangeException.h"

namespace Pith {
namespace {

struct Consumer {
  TraceControl::Writer writer = nullptr;
  std::vector<TraceControl::Setting> settings;
};

constexpr std::array<int, traceConsumerCount> defaultLevels{0, traceLevelMax};

// Never destroyed: a facility may be asked while the process ends.
Consumer& consumerOf(TraceConsumer consumer) {
  static auto& all = *new std::array<Consumer, traceConsumerCount>;
  return all[static_cast<std::size_t>(consumer)];
}

constinit TraceFacility* firstFacility = nullptr;

bool matches(std::string_view pattern, std::string_view name) {
  if (!pattern.ends_with('*')) return pattern == name;
  pattern.remove_suffix(1);
  return name.starts_with(pattern);
}

void require(const TraceControl::Setting& setting) {
  if (setting.level < traceOff || setting.level > traceLevelMax) {
    RangeException::throwException("Pith::TraceFacility::level < -1 or > 9");
  }
  const std::size_t star = setting.pattern.find('*');
  if (star != std::string::npos && star + 1 != setting.pattern.size()) {
    RangeException::throwException("Pith::TraceFacility::pattern with '*' before its end");
  }
}

}  // namespace

TraceFacility::~TraceFacility() {
  for (TraceFacility** link = &firstFacility; *link != nullptr; link = &(*link)->next_) {
    if (*link == this) {
      *link = next_;
      break;
    }
  }
  levels_.fill(traceOff);
  highest_ = traceOff;
}

bool TraceFacility::settle(int level) noexcept {
  next_ = std::exchange(firstFacility, this);
  levelsUpdate();
  return level <= highest_;
}

void TraceFacility::levelsUpdate() noexcept {
  for (const TraceConsumer consumer : {TraceConsumer::helper, TraceConsumer::recorder}) {
    const bool on = TraceControl::writer(consumer) != nullptr;
    levels_[static_cast<std::size_t>(consumer)] =
        static_cast<std::int8_t>(on ? TraceControl::level(consumer, name_) : traceOff);
  }
  highest_ = *std::max_element(levels_.begin(), levels_.end());
}

void TraceControl::levelIs(TraceConsumer consumer, std::string_view pattern, int level) {
  Setting setting{std::string(pattern), level};
  require(setting);
  std::vector<Setting>& settings = consumerOf(consumer).settings;
  std::erase_if(settings, [&](const Setting& old) { return old.pattern == pattern; });
  settings.push_back(std::move(setting));
  facilitiesUpdate();
}

int TraceControl::level(TraceConsumer consumer, std::string_view name) {
  int level = defaultLevels[static_cast<std::size_t>(consumer)];
  std::size_t longest = 0;
  for (const Setting& setting : consumerOf(consumer).settings) {
    if (!matches(setting.pattern, name)) continue;
    const std::size_t length = setting.pattern == name ? std::string::npos : setting.pattern.size();
    if (length < longest) continue;
    longest = length;
    level = setting.level;
  }
  return level;
}

const std::vector<TraceControl::Setting>& TraceControl::settings(TraceConsumer consumer) {
  return consumerOf(consumer).settings;
}

void TraceControl::settingsAre(TraceConsumer consumer, std::vector<Setting> settings) {
  for (const Setting& setting : settings) require(setting);
  consumerOf(consumer).settings = std::move(settings);
  facilitiesUpdate();
}

void TraceControl::writerIs(TraceConsumer consumer, Writer writer) {
  consumerOf(consumer).writer = writer;
  facilitiesUpdate();
}

TraceControl::Writer TraceControl::writer(TraceConsumer consumer) {
  return consumerOf(consumer).writer;
}

void TraceControl::facilitiesUpdate() {
  for (TraceFacility* facility = firstFacility; facility != nullptr; facility = facility->next_) {
    facility->levelsUpdate();
  }
}

}  // namespace Pith
