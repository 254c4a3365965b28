// Sources that come, are enabled, are disabled and go, in every order: the exact writes of each
// step, and the objects that there are after it.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <numeric>
#include <set>
#include <string>
#include <vector>

#include "tests/support/LiveCounts.h"
#include "tests/support/Switch.h"

namespace SourcesOrder {
namespace {

using Lines = std::vector<std::string>;

const std::string begun = "~ updateInProgress = true";
const std::string done = "~ updateInProgress = false";

constexpr std::size_t sourceCount = 3;
constexpr std::array<const char*, sourceCount> names = {"a", "b", "c"};
constexpr std::array<std::uint8_t, sourceCount> forwardTypes = {1, 2, 1};
constexpr std::size_t permissive = 1;  // the source that turns the default drop off

// Every source configures the default VRF with a segment of its own and one that all share, and
// the same policy.
const std::string vrf = "vrf/default";
const std::string policy = "policy/shared";
std::string segment(const std::string& name) { return vrf + "/segment/" + name; }

Firewall::Config::Ptr newConfig(std::size_t i) {
  const auto config = Kiv::make<Firewall::Config>(names[i]);
  const auto directory = config->vrfIs("default");
  directory->segmentIs("shared");
  directory->segmentIs(names[i]);
  config->policyIs("shared");
  config->forwardTypeIs(Firewall::ForwardingTypeMatch(forwardTypes[i]));
  if (i == permissive) config->defaultPolicyIs(Firewall::DefaultPolicy::forward);
  return config;
}

struct Source {
  bool there = false;
  bool enabled = false;
};

// What each step must write, worked out from what the sources ask for and what the output holds.
class Expected {
 public:
  std::array<Source, sourceCount> sources;

  std::uint64_t thereCount() const { return count(&Source::there); }
  std::uint64_t enabledCount() const { return count(&Source::enabled); }
  std::uint64_t segmentCount() const { return segments_.size(); }

  Lines add(std::size_t i) {
    sources[i] = {.there = true, .enabled = false};
    return {};
  }

  Lines enable(std::size_t i) {
    sources[i] = {.there = true, .enabled = true};
    Lines lines = {begun};
    const bool drop = !sources[permissive].there;
    if (drop != drop_) lines.push_back(std::string("~ defaultPolicyDrop = ") + text(drop));
    drop_ = drop;
    if (segments_.empty()) lines.push_back("+ " + vrf);
    const auto stood = segments_;
    for (const std::string& name : stood) {
      if (!isConfigured(name)) lines.push_back(removed(name));
    }
    for (const char* const name : {"shared", names[i]}) {
      if (segments_.insert(name).second) lines.push_back("+ " + segment(name));
    }
    if (enabledCount() == 1) lines.push_back("+ " + policy);
    if (typeOfAll() != type_) {
      type_ = typeOfAll();
      std::string flags;
      Firewall::ForwardingTypeMatch(type_).appendTo(flags);
      lines.push_back("~ forwardType = " + flags);
    }
    lines.push_back(done);
    if (enabledCount() == 1) lines.emplace_back("~ active = true");
    return lines;
  }

  // The output is emptied first when it is the last one; beside others its segments stay.
  Lines disable(std::size_t i) {
    sources[i].enabled = false;
    if (enabledCount() > 0) return {begun, done};
    segments_.clear();
    return {"~ active = false", "- " + vrf, "- " + policy, begun, done};
  }

  // The source takes its own down first.
  Lines remove(std::size_t i) {
    const bool enabled = sources[i].enabled;
    sources[i] = {};
    if (!enabled) return {};
    Lines lines = {begun};
    for (const char* const name : {"shared", names[i]}) {
      if (!isConfigured(name)) lines.push_back(removed(name));
    }
    if (enabledCount() == 0) lines.push_back("- " + vrf);
    lines.push_back(done);
    if (enabledCount() > 0) return lines;
    segments_.clear();
    lines.insert(lines.end(), {"~ active = false", "- " + policy});
    return lines;
  }

 private:
  static const char* text(bool value) { return value ? "true" : "false"; }
  std::uint64_t count(bool Source::*what) const {
    return static_cast<std::uint64_t>(std::count_if(
        sources.begin(), sources.end(), [what](const Source& source) { return source.*what; }));
  }
  std::uint8_t typeOfAll() const {
    std::uint8_t type = 0;
    for (std::size_t i = 0; i < sourceCount; ++i) {
      if (sources[i].there) type = static_cast<std::uint8_t>(type | forwardTypes[i]);
    }
    return type;
  }

  // A segment stays while a source has it, enabled or not.
  bool isConfigured(const std::string& name) const {
    if (name == "shared") return thereCount() > 0;
    for (std::size_t i = 0; i < sourceCount; ++i) {
      if (name == names[i]) return sources[i].there;
    }
    return false;
  }
  std::string removed(const std::string& name) {
    segments_.erase(name);
    return "- " + segment(name);
  }

  std::set<std::string> segments_;  // of the output
  bool drop_ = false;               // these two stand when the output is emptied
  std::uint8_t type_ = 0;
};

class SourcesOrderTest : public TestSupport::SwitchTest {
 protected:
  void SetUp() override {
    SwitchTest::SetUp();
    sw().start();
    sw().recorder.take();
    liveWithoutSources_ = TestSupport::liveCounts();
  }

  void add(std::size_t i, bool enabled = false) {
    const auto config = newConfig(i);
    config->enabledIs(enabled);
    step(names[i] + std::string(enabled ? " comes enabled" : " comes"));
    sw().fwConfigDir->entityIs(names[i], config);
    check(enabled ? expected_.enable(i) : expected_.add(i));
  }
  void enable(std::size_t i) {
    step(names[i] + std::string(" is enabled"));
    sw().source(names[i])->enabledIs(true);
    check(expected_.enable(i));
  }
  void disable(std::size_t i) {
    step(names[i] + std::string(" is disabled"));
    sw().source(names[i])->enabledIs(false);
    check(expected_.disable(i));
  }
  void remove(std::size_t i) {
    step(names[i] + std::string(" goes"));
    sw().fwConfigDir->entityDel(names[i]);
    check(expected_.remove(i));
  }

  // Everything that can happen next, `left` times in a row; each step is taken back.
  void eachSequence(int left) {
    if (left == 0) return;
    for (std::size_t i = 0; i < sourceCount && !HasFatalFailure(); ++i) {
      const Source source = expected_.sources[i];
      if (!source.there) {
        for (const bool enabled : {false, true}) {
          add(i, enabled);
          eachSequence(left - 1);
          remove(i);
        }
      } else {
        source.enabled ? disable(i) : enable(i);
        eachSequence(left - 1);
        source.enabled ? enable(i) : disable(i);
        remove(i);
        eachSequence(left - 1);
        add(i, source.enabled);
      }
    }
  }

 private:
  void step(const std::string& what) {
    if (expected_.thereCount() == 0) steps_.clear();
    steps_ += what + "; ";
  }

  void check(const Lines& writes) {
    if (HasFatalFailure()) return;
    ASSERT_EQ(sw().recorder.take(), writes) << steps_;
    const std::uint64_t enabled = expected_.enabledCount();
    ASSERT_EQ(sw().hwConfig->active(), enabled > 0) << steps_;
    ASSERT_EQ(static_cast<bool>(sw().root->appRecogConfigSm()), enabled > 0) << steps_;
    ASSERT_FALSE(sw().hwConfig->updateInProgress()) << steps_;
    ASSERT_EQ(sw().root->activeWorkManager()->activeHandles(), 0U) << steps_;
    const std::map<std::string, std::uint64_t> live = {
        {"Firewall::RootFeatureEnableSm", expected_.thereCount()},
        {"Firewall::RootSm", enabled},
        {"Firewall::VrfSm", enabled},
        {"Firewall::SegmentSM", 2 * enabled},
        {"Firewall::RootSm::PolicySm", enabled},
        {"Firewall::FwVrf", enabled > 0 ? 1U : 0U},
        {"Firewall::FwSegment", expected_.segmentCount()},
        {"Firewall::FwPolicy", enabled > 0 ? 1U : 0U}};
    for (const auto& [type, count] : live) {
      const auto* const info = Kiv::AllocTrackTypeInfo::find(type);
      ASSERT_EQ(info == nullptr ? 0U : info->live(), count) << type << " after " << steps_;
    }
    if (expected_.thereCount() == 0) {
      ASSERT_EQ(TestSupport::liveCounts(), liveWithoutSources_) << steps_;
    }
  }

  Expected expected_;
  std::map<std::string, std::uint64_t> liveWithoutSources_;
  std::string steps_;
};

TEST_F(SourcesOrderTest, AnyStepsOfThreeSourcesWriteWhatTheyChangeInOrder) { eachSequence(4); }

TEST_F(SourcesOrderTest, AnyStepsBesideThreeSourcesThatAreThereWriteWhatTheyChangeInOrder) {
  for (std::size_t i = 0; i < sourceCount; ++i) add(i, i == 0);
  eachSequence(4);
}

TEST_F(SourcesOrderTest, UpToThreeSourcesAddedEnabledDisabledAndRemovedInEveryOrder) {
  const auto eachOrder = [](std::size_t count, const auto& use) {
    std::vector<std::size_t> order(count);
    std::iota(order.begin(), order.end(), 0U);
    do {
      if (!HasFatalFailure()) use(order);
    } while (std::next_permutation(order.begin(), order.end()));
  };
  for (std::size_t count = 1; count <= sourceCount; ++count) {
    eachOrder(count, [&](const auto& added) {
      eachOrder(count, [&](const auto& enabled) {
        eachOrder(count, [&](const auto& disabled) {
          eachOrder(count, [&](const auto& removed) {
            for (const std::size_t i : added) add(i);
            for (const std::size_t i : enabled) enable(i);
            for (const std::size_t i : disabled) disable(i);
            for (const std::size_t i : removed) remove(i);
          });
        });
      });
    });
  }
}

}  // namespace
}  // namespace SourcesOrder
