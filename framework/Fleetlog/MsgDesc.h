// What is the same for all messages of one trace site, so that it need not be written with each.
//
//   static constinit Fleetlog::MsgDesc desc(facility, fn, ": %s", __LINE__, 8,
//                                           Fleetlog::withSignature);
//
// Constant-initialised: a site costs nothing before its first message, which registers the
// descriptor with the trace file. The macros of framework/Twinlog/Twinlog.h make them.
//
// `text` holds a "%s" for each value; nothing else in it is special. With `withSignature` a message
// reads as the function's signature followed by the text.
#pragma once

#include <cstdint>
#include <string_view>

#include "framework/Fleetlog/Function.h"
#include "framework/Pith/TraceFacility.h"

namespace Fleetlog {

enum Signature : std::uint8_t { withoutSignature, withSignature };

struct MsgDesc {
  constexpr MsgDesc(const Pith::TraceFacility& source, const Function& traced,
                    std::string_view format, int sourceLine, int traceLevel,
                    Signature shown) noexcept
      : facility(&source),
        function(traced),
        text(format),
        id(idOf(traced.signature, format)),
        line(static_cast<std::uint32_t>(sourceLine)),
        level(static_cast<std::uint8_t>(traceLevel)),
        signature(shown) {}
  MsgDesc(const MsgDesc&) = delete;
  MsgDesc& operator=(const MsgDesc&) = delete;

  const Pith::TraceFacility* facility;  // the source module
  Function function;
  std::string_view text;
  std::uint32_t id;  // survives other lines moving: sites of one function and one text share it
  std::uint32_t line;
  std::uint8_t level;
  Signature signature;

  // Where the trace file that is numbered `registeredWith` holds the descriptor.
  std::uint16_t index = 0;
  std::uint32_t registeredWith = 0;

 private:
  // FNV-1a (Fowler, Noll, Vo) of the signature, a zero byte and the text.
  static constexpr std::uint32_t idOf(std::string_view signature, std::string_view text) noexcept {
    constexpr std::uint32_t prime = 16777619U;
    std::uint32_t hash = 2166136261U;
    for (const char c : signature) hash = (hash ^ static_cast<unsigned char>(c)) * prime;
    hash *= prime;
    for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * prime;
    return hash;
  }
};

}  // namespace Fleetlog
