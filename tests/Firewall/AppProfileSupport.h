// For tests of application profiles: a main reactor of its own, whose versions the test raises, and
// the writes to its output.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "tests/Firewall/RulesSupport.h"
#include "tests/support/FakeHardwareAgent.h"
#include "tests/support/WriteRecorder.h"

namespace TestSupport {

class AppProfileFixture : public ::testing::Test {
 protected:
  using Ports = Classification::PortRange;
  using Protocols = Classification::ProtocolRange;

  void SetUp() override {
    lone.start();
    recorder.take();
  }

  Classification::AppConfig::Ptr app(const char* name) { return lone.apps->appIs(name); }
  void ports(const char* name, const std::vector<Ports>& ranges) {
    const auto set = lone.fieldSets->fieldSetL4PortIs(name)->subConfigIs(name);
    set->portsDelAll();
    for (const Ports& range : ranges) set->portsIs(range);
  }
  void prefixes(const char* name, std::initializer_list<const char*> texts) {
    const auto set = lone.fieldSets->fieldSetIpPrefixIs(name)->subConfigIs(name);
    set->prefixesDelAll();
    for (const char* text : texts) set->prefixesIs(prefix(text));
  }
  // The next version of the profile is published, and so compiled.
  void compile(const char* name) { lone.versions->versionForAppProfileIs(name, ++version_); }

  Firewall::FwService::Ptr service(const char* name) { return lone.hwConfig->services(name); }
  template <class Collection>
  static std::vector<std::string> portsOf(const Collection& collection) {
    std::vector<std::string> texts;
    for (const auto& entry : collection) texts.push_back(Kiv::valueToStrep(entry.value));
    return texts;
  }
  template <class Set>
  static std::vector<std::string> membersOf(const Set& set) {
    std::vector<std::string> texts;
    for (const auto& member : set) texts.push_back(Kiv::valueToStrep(member));
    return texts;
  }

  LoneRootSm lone;
  FakeHardwareAgent hardware{lone.hwConfig};
  WriteRecorder recorder{lone.hwConfig};

 private:
  std::uint32_t version_ = 0;
};

}  // namespace TestSupport
