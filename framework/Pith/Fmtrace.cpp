#include "framework/Pith/Fmtrace.h"

namespace Pith::Impl {

void fmtraceWrite(const TraceFacility& facility, int level, std::string_view label,
                  std::string_view text, std::initializer_list<FmtraceValue> values) {
  std::string formatted;
  std::size_t begin = 0;
  for (const FmtraceValue& value : values) {
    const std::size_t end = text.find("{}", begin);
    formatted.append(text.substr(begin, end - begin));
    value.appendTo(formatted);
    begin = end + 2;
  }
  formatted.append(text.substr(begin));

  for (const TraceConsumer consumer : {TraceConsumer::recorder, TraceConsumer::helper}) {
    if (facility.enabled(consumer, level)) {
      TraceControl::writer(consumer)(facility, level, label, formatted);
    }
  }
}

}  // namespace Pith::Impl
