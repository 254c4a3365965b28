// What the tests of this folder share. Each test pins one line of docs/behaviour.md, which is the
// comment above it; tests/house/check_behaviour.py sees that none is without the other.
//
// A switch is driven by lines of changes (tests/plain/Change.h), beside the plain model, which has
// to agree after every one of them.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/plain/Life.h"
#include "tests/support/LiveCounts.h"

namespace BehaviourTest {

using Plain::History;
using Plain::Lines;

class Behaviour : public testing::Test {
 protected:
  // A root, and VRF red with the segment a of the enabled source cli; gnmi has the same, disabled.
  void SetUp() override {
    given({"start", "+ ip/vrf/red", "+ lists/main", "+ cap/globalPrefixListSupported = true",
           "+ source/cli", "+ source/cli/vrf/red", "+ source/cli/vrf/red/segment/a",
           "+ source/cli/enabled = true", "+ source/gnmi", "+ source/gnmi/vrf/red",
           "+ source/gnmi/vrf/red/segment/a"});
  }

  void given(const History& changes) {
    for (const std::string& line : changes) ASSERT_EQ(life_.after(line), "") << line;
  }
  Lines writesOf(const std::string& change) {
    EXPECT_EQ(life_.after(change), "") << change;
    return life_.writes();
  }
  // The words with which the change is refused.
  std::string refusalOf(const std::string& change) {
    EXPECT_EQ(life_.after(change), "") << change;
    return life_.refusal();
  }

  // The output's lines "path = text" whose path begins so.
  Lines below(const std::string& path) {
    Lines lines = life_.real().dump();
    std::erase_if(lines, [&path](const std::string& line) { return !line.starts_with(path); });
    return lines;
  }
  // The text of a value or an entry of the output; "-" when there is none.
  std::string at(const std::string& path) {
    for (const std::string& line : life_.real().dump()) {
      if (line.starts_with(path + " = ")) return line.substr(path.size() + 3);
    }
    return "-";
  }
  bool has(const std::string& path) { return at(path) != "-"; }
  void disableAndEnable(const History& sources) {
    for (const std::string& name : sources) given({"+ source/" + name + "/enabled = false"});
    for (const std::string& name : sources) given({"+ source/" + name + "/enabled = true"});
  }

  // An application of one protocol range, and a rule of policy p of cli that names it.
  void application(const std::string& name, const std::string& protocol) {
    given({"+ apps/app/" + name, "+ apps/app/" + name + "/proto/" + protocol});
  }
  void rule(const std::string& sequenceNumber, const std::string& service,
            const std::string& source = "cli") {
    given({"+ source/" + source + "/policy/p", "+ source/" + source + "/policy/p/rule/" +
                                                   sequenceNumber + " = service=" + service +
                                                   ",action=forward"});
  }
  // The hardware rules of policy p, as "protocol=6,dstPort=80,srcPort=0-65535".
  Lines rules() {
    Lines found;
    for (const std::string& line : below("policy/p/rule/")) {
      const std::size_t from = line.find("protocol=");
      found.push_back(line.substr(from, line.find(",action") - from));
    }
    return found;
  }

  Plain::Life life_;

 private:
  void TearDown() override { EXPECT_EQ(life_.end(), ""); }
};

// Where the line is; past the end when it is not there.
inline std::ptrdiff_t placeOf(const Lines& lines, const std::string& line) {
  return std::ranges::find(lines, line) - lines.begin();
}

}  // namespace BehaviourTest
