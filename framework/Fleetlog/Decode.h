// Reads trace files.
//
//   const std::vector<std::byte> bytes = Fleetlog::readTraceFile("/var/log/agent.trace");
//   const Fleetlog::Decoded result = Fleetlog::decode(bytes, [](const Fleetlog::Message& message) {
//     std::cout << message.shortName << ' ' << message.text << '\n';
//   });
//
// Messages come in the order in which they were written. A file that is cut, damaged or still being
// written gives all of it that can be read: a message whose check sum is wrong is left out and
// named as a fault, and reading goes on behind it. Whatever the bytes, nothing is read outside of
// them, and the memory taken is a multiple of their number.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "framework/Pith/Export.h"

namespace Fleetlog {

// Valid during the call that it is handed to.
struct Message {
  std::int64_t time;        // nanoseconds since 1970, steady, by the clock of the writer's start
  std::string_view module;  // "Firewall/FirewallConfigSm"
  std::uint32_t id;         // of the trace site
  std::uint32_t line;       // 0 where the text was formatted by its writer
  int level;
  std::string_view signature;  // "void Firewall::RootSm::handlePolicy(const String&)"
  std::string_view shortName;  // "handlePolicy"
  std::string_view text;
};

struct Fault {
  std::size_t at;  // the offset in the file, bytes
  std::string text;
};

struct Decoded {
  static constexpr std::size_t faultsMax = 100;

  std::vector<Fault> faults;     // the first of them
  std::uint64_t faultCount = 0;  // 0: everything was read
  std::uint64_t messageCount = 0;
  std::uint64_t lost = 0;       // messages that their writer could not write
  std::uint64_t processId = 0;  // of the writer
};

using Visit = std::function<void(const Message&)>;

PITH_EXPORT Decoded decode(std::span<const std::byte> file, const Visit& visit);

// The bytes of a trace file, as they are at one moment also while it is being written. Any other
// file is just read. std::system_error when it cannot be.
PITH_EXPORT std::vector<std::byte> readTraceFile(const std::filesystem::path& path);

}  // namespace Fleetlog
