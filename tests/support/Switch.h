// A switch for tests: every input and output of the library, a root reactor when it is started, and
// the fake hardware agent and a recorder of all writes attached to the output from the beginning.
//
//   class MyTest : public TestSupport::SwitchTest {};
//   TEST_F(MyTest, ...) {
//     auto cli = sw().source("cli");             // a new Firewall::Config, not enabled yet
//     sw().start();
//     cli->enabledIs(true);
//     EXPECT_EQ(sw().recorder.take(), Lines(...));
//   }
//
// At the end of each test the root is stopped, the output must be at rest, and every object must be
// gone: the live counts of all types are what they were before the test.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "Firewall/Sources/SwitchStore.h"
#include "framework/Kiv/Dir.h"
#include "model/Acl/PrefixList.h"
#include "model/Classification/AppRecognition.h"
#include "model/Firewall/Config.h"
#include "model/Firewall/HwCapability.h"
#include "model/Firewall/HwConfig.h"
#include "model/Interface/AllIntfStatusDir.h"
#include "model/Ip/Status.h"
#include "model/MatchList/MatchList.h"
#include "tests/support/FakeHardwareAgent.h"
#include "tests/support/LiveCounts.h"
#include "tests/support/WriteRecorder.h"

namespace TestSupport {

inline Lanx::IpGenPrefix prefix(const char* text) { return Lanx::IpGenPrefix::parse(text); }

class Switch : public Firewall::SwitchStore {
 public:
  Switch();
  ~Switch();
  Switch(const Switch&) = delete;
  Switch& operator=(const Switch&) = delete;

  // The source of that name, made when it is not there.
  Firewall::Config::Ptr source(const std::string& name) { return sourceIs(name); }
  // The match-list path of that name, made when it is not there.
  MatchList::Config::Ptr matchLists(const std::string& path) { return matchListPathIs(path); }
  // An application with one protocol range and, when given, one port range to it, under a field set
  // of its name; made anew when it is there.
  void application(const std::string& name, std::uint8_t protocol, const std::string& dstPorts = "",
                   const std::string& srcPrefix = "");
  // An interface that exists; routed in a VRF when one is given.
  void interface(const std::string& name, const std::string& vrf = "");
  // The reactor of the source, null while it is not enabled.
  Firewall::RootSm::Ptr rootSm(const std::string& sourceName) const;
  void checkAtRest() const { hardware.checkAtRest(); }

  FakeHardwareAgent hardware{hwConfig};
  WriteRecorder recorder{hwConfig};
};

class SwitchTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;
  Switch& sw() { return *switch_; }

 private:
  std::map<std::string, std::uint64_t> liveBefore_;
  std::unique_ptr<Switch> switch_;
};

}  // namespace TestSupport
