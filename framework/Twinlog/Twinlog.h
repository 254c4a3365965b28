// One trace site for both traces: the flight recorder (Fleetlog), which keeps raw values, and the
// levelled trace (Kiv::TraceHelper), which shows texts as they happen.
//
//   inline constinit Twinlog::Facility facility("Firewall/FirewallConfigSm");   // one a module
//
//   void RootSm::handlePolicy(const Pith::String& name) {
//     static constexpr Twinlog::Function fn("void Firewall::RootSm::handlePolicy(const String&)");
//     TWINLOG_FN(facility, 8, fn, ": %s", name);
//     ...
//     TWINLOG(facility, 3, fn, "Policy %s not found", name);
//     TWINLOG_FN(facility, 7, fn, " return");
//
// Fleetlog then holds, for the name "web":
//
//   void Firewall::RootSm::handlePolicy(const String&): web      TWINLOG_FN: signature and text
//   Policy web not found                                         TWINLOG: the text
//   void Firewall::RootSm::handlePolicy(const String&) return
//
// and Kiv::TraceHelper the short name of the function, "handlePolicy", with each of the texts
// ": web", "Policy web not found" and " return".
//
// The level, 0 to 9, and the text are constants. Each "%s" is replaced by the next value; that
// there are as many is checked at compile time, and any other '%' is literal. Values are integers,
// bool, texts and everything that Kiv::TraceStream shows. The recorder is given them raw, and of a
// reference the name; only of a value that does not say how it is put (Fleetlog/RingBuf.h) is a
// text made for it.
//
// While the level is disabled, a site costs one load and one comparison, and its values are not
// evaluated. A recorded message costs about a dozen nanoseconds.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

#include "framework/Fleetlog/Fleetlog.h"
#include "framework/Fleetlog/Function.h"
#include "framework/Fleetlog/MsgDesc.h"
#include "framework/Fleetlog/RingBuf.h"
#include "framework/Kiv/TraceHelper.h"
#include "framework/Kiv/TraceStream.h"
#include "framework/Pith/String.h"
#include "framework/Pith/TraceFacility.h"

namespace Twinlog {

using Facility = Pith::TraceFacility;
using Function = Fleetlog::Function;

namespace Impl {

constexpr std::size_t placeholderCount(std::string_view text) noexcept {
  std::size_t count = 0;
  for (std::size_t at = text.find("%s"); at != std::string_view::npos;
       at = text.find("%s", at + 2)) {
    ++count;
  }
  return count;
}

// Only its type is used: how many arguments there are, without their evaluation.
template <class... Arguments>
std::integral_constant<std::size_t, sizeof...(Arguments)> counted(const Arguments&...);

// A value as it is handed on: in a register where it fits, and few different types.
template <class T>
decltype(auto) handedOn(const T& value) noexcept {
  if constexpr (std::is_same_v<T, bool> || std::is_same_v<T, char>) {
    return T{value};
  } else if constexpr (std::is_integral_v<T>) {
    return static_cast<std::conditional_t<std::is_signed_v<T>, std::int64_t, std::uint64_t>>(
        +value);
  } else if constexpr (std::is_convertible_v<const T&, const char*>) {
    const char* const text = value;
    return text == nullptr ? std::string_view("(null)") : std::string_view(text);
  } else if constexpr (std::is_convertible_v<const T&, std::string_view>) {
    return std::string_view(value);
  } else if constexpr (std::is_base_of_v<Pith::String, T>) {
    return value.view();
  } else {
    return static_cast<const T&>(value);
  }
}

template <class T>
[[gnu::always_inline]] inline void putValue(Fleetlog::RingBuf& ring, const T& value) {
  if constexpr (requires { ring.put(value); }) {
    ring.put(value);
  } else if constexpr (Kiv::ShownByName<T>) {
    putValue(ring, value ? handedOn(value->name()) : std::string_view("null"));
  } else {
    Kiv::TraceStream text;
    text << value;
    ring.put(text.view());
  }
}

// Appends `text` up to its next "%s", and the value.
template <class T>
void appendValue(Kiv::TraceStream& out, std::string_view& text, const T& value) {
  const std::size_t at = text.find("%s");
  out << text.substr(0, at) << value;
  text.remove_prefix(at + 2);
}

template <class... Values>
[[gnu::always_inline]] inline void record(Fleetlog::MsgDesc& desc, Values... values) {
  Fleetlog::RingBuf ring(*Fleetlog::traceFile());
  if (!ring.startMsg(desc)) return;
  (putValue(ring, values), ...);
  ring.endMsg();
}

template <class... Values>
[[gnu::noinline, gnu::cold]] void show(const Fleetlog::MsgDesc& desc, Values... values) {
  Kiv::TraceStream out;
  std::string_view text = desc.text;
  (appendValue(out, text, values), ...);
  out << text;
  Kiv::TraceHelper::write(*desc.facility, desc.level, desc.function.shortName, out.view());
}

// One for each list of value types, not one for each site.
template <class... Values>
[[gnu::noinline]] void writeValues(Fleetlog::MsgDesc& desc, Values... values) {
  if (desc.facility->enabled(Pith::TraceConsumer::recorder, desc.level)) {
    record<Values...>(desc, values...);
  }
  if (desc.facility->enabled(Pith::TraceConsumer::helper, desc.level)) {
    show<Values...>(desc, values...);
  }
}

// The text is in the descriptor.
template <class... Values>
void write(Fleetlog::MsgDesc& desc, const char*, const Values&... values) {
  writeValues<decltype(handedOn(values))...>(desc, handedOn(values)...);
}

}  // namespace Impl
}  // namespace Twinlog

#define TWINLOG(facility, level, function, /* text, values */...) \
  TWINLOG_SITE(facility, level, function, ::Fleetlog::withoutSignature, __VA_ARGS__)
#define TWINLOG_FN(facility, level, function, /* text, values */...) \
  TWINLOG_SITE(facility, level, function, ::Fleetlog::withSignature, __VA_ARGS__)

#define TWINLOG_SITE(facility, level, function, signature, ...)                           \
  do {                                                                                    \
    static_assert((level) >= 0 && (level) <= ::Pith::traceLevelMax, "a level is 0 to 9"); \
    static_assert(::Twinlog::Impl::placeholderCount(TWINLOG_TEXT(__VA_ARGS__, )) + 1 ==   \
                      decltype(::Twinlog::Impl::counted(__VA_ARGS__))::value,             \
                  "there is one value for each %s");                                      \
    if ((facility).enabled(level)) {                                                      \
      static constinit ::Fleetlog::MsgDesc twinlogDesc(                                   \
          facility, function, TWINLOG_TEXT(__VA_ARGS__, ), __LINE__, level, signature);   \
      ::Twinlog::Impl::write(twinlogDesc, __VA_ARGS__);                                   \
    }                                                                                     \
  } while (false)
#define TWINLOG_TEXT(text, ...) text
