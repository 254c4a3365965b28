#include "framework/Fleetlog/Fleetlog.h"

#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <utility>

#include "framework/Fleetlog/RingBuf.h"
#include "framework/Pith/Assert.h"

namespace Fleetlog {
namespace {

// A descriptor whose texts are not literals, with a facility of its own: the one that was traced
// may be gone when the descriptor is registered with the next trace file.
struct TextDesc {
  TextDesc(std::string_view facilityName, int level, std::string_view functionName)
      : module(facilityName),
        function(functionName),
        facility(module.c_str()),
        desc(facility, Function(function), "%s", 0, level, withoutSignature) {}

  std::string module;
  std::string function;
  Pith::TraceFacility facility;
  MsgDesc desc;
};

MsgDesc& textDesc(std::string_view module, int level, std::string_view function) {
  using Key = std::tuple<std::string, int, std::string>;
  static auto& all = *new std::map<Key, std::unique_ptr<TextDesc>>;
  std::unique_ptr<TextDesc>& found = all[Key(module, level, function)];
  if (found == nullptr) found = std::make_unique<TextDesc>(module, level, function);
  return found->desc;
}

}  // namespace

constinit TraceFile* Impl::attached = nullptr;

void traceFileIs(TraceFile* file) {
  Impl::attached = file;
  Pith::TraceControl::writerIs(Pith::TraceConsumer::recorder,
                               file == nullptr ? nullptr : &writeText);
  if (file != nullptr) Pith::lastWordsAdd(&flush);
}

void levelIs(std::string_view pattern, int level) {
  Pith::TraceControl::levelIs(Pith::TraceConsumer::recorder, pattern, level);
}

int level(std::string_view facility) {
  return Pith::TraceControl::level(Pith::TraceConsumer::recorder, facility);
}

void flush() noexcept {
  if (Impl::attached != nullptr) Impl::attached->flush();
}

void writeText(const Pith::TraceFacility& facility, int level, std::string_view function,
               std::string_view text) {
  if (Impl::attached == nullptr) return;
  RingBuf ring(*Impl::attached);
  if (!ring.startMsg(textDesc(facility.name(), level, function))) return;
  ring.put(text);
  ring.endMsg();
}

}  // namespace Fleetlog
