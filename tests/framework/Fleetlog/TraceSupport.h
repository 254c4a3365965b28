// What the tests of the flight recorder share: numbered messages, and what a decoder makes of
// bytes.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "framework/Fleetlog/Decode.h"
#include "framework/Fleetlog/MsgDesc.h"
#include "framework/Fleetlog/RingBuf.h"
#include "framework/Fleetlog/TraceFile.h"

namespace FleetlogTest {

inline constinit Pith::TraceFacility facility("Test/Fleetlog");

// As little as a trace file takes.
inline constexpr Fleetlog::TraceFile::Sizes smallest{.ringBytes = 0, .descriptorBytes = 0};

// Writes "number N <text>"; false when it could not be started.
inline bool writeNumber(Fleetlog::TraceFile& file, std::uint64_t number,
                        std::string_view text = "") {
  static constexpr Fleetlog::Function fn("void Test::number(U64)");
  static constinit Fleetlog::MsgDesc desc(facility, fn, "number %s %s", __LINE__, 6,
                                          Fleetlog::withoutSignature);
  Fleetlog::RingBuf ring(file);
  if (!ring.startMsg(desc)) return false;
  ring.put(number).put(text);
  ring.endMsg();
  return true;
}

struct Read {
  std::vector<std::string> texts;
  Fleetlog::Decoded result;
};

inline Read read(std::span<const std::byte> bytes) {
  Read read;
  read.result = Fleetlog::decode(
      bytes, [&](const Fleetlog::Message& message) { read.texts.emplace_back(message.text); });
  EXPECT_EQ(read.result.messageCount, read.texts.size());
  return read;
}

// The number in "number N ...".
inline std::uint64_t numberOf(const std::string& text) { return std::stoull(text.substr(7)); }

// Whether the numbers of the messages follow each other without a gap.
inline testing::AssertionResult areConsecutive(const std::vector<std::string>& texts) {
  for (std::size_t i = 1; i < texts.size(); ++i) {
    if (numberOf(texts[i]) != numberOf(texts[i - 1]) + 1) {
      return testing::AssertionFailure() << texts[i] << " follows " << texts[i - 1];
    }
  }
  return testing::AssertionSuccess();
}

// Whether `part` is `whole` with some left out.
inline bool isSubsequence(const std::vector<std::string>& part,
                          const std::vector<std::string>& whole) {
  auto at = whole.begin();
  for (const std::string& text : part) {
    while (at != whole.end() && *at != text) ++at;
    if (at == whole.end()) return false;
    ++at;
  }
  return true;
}

// A folder of its own, removed at the end.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string name = (std::filesystem::path(testing::TempDir()) / "fleetlog.XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("mkdtemp");
    path_ = name;
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  std::filesystem::path operator/(const char* name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

}  // namespace FleetlogTest
