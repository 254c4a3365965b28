// What a call writes to the flight recorder: the whole texts, where Kiv::TraceHelper has the short
// name of the function.
//
//   EXPECT_THAT(TestSupport::recordedBy([&] { sm->handlePolicy("web"); }),
//               ElementsAre("8 void Firewall::RootSm::handlePolicy(const String&): web", ...));
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "framework/Fleetlog/Decode.h"
#include "framework/Fleetlog/Fleetlog.h"
#include "framework/Fleetlog/TraceFile.h"

namespace TestSupport {

// Each with its level first.
template <class Call>
std::vector<std::string> recordedBy(const Call& call) {
  Fleetlog::TraceFile file;
  Fleetlog::traceFileIs(&file);
  call();
  Fleetlog::traceFileIs(nullptr);
  std::vector<std::string> lines;
  const auto result = Fleetlog::decode(file.bytes(), [&](const Fleetlog::Message& message) {
    lines.push_back(std::to_string(message.level) + " " + std::string(message.text));
  });
  EXPECT_EQ(result.faultCount, 0U);
  return lines;
}

}  // namespace TestSupport
