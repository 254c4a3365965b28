#include <functional>
#include <stdexcept>

#include "framework/Kiv/TreeWatcher.h"
#include "framework/Pith/RangeException.h"
#include "tests/behaviour/Behaviour.h"

namespace {

using BehaviourTest::Behaviour;
using BehaviourTest::placeOf;
using Plain::Change;
using Plain::History;
using Plain::Lines;
using Plain::RealSwitch;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

// Disabling the last source empties the tables, `active` first, before `updateInProgress`
// rises: take `active` = false itself as the order to empty the hardware.
TEST_F(Behaviour, DisablingTheLastSourceEmptiesTheTables) {
  const Lines writes = writesOf("+ source/cli/enabled = false");
  EXPECT_EQ(writes.front(), "~ active = false");
  EXPECT_LT(placeOf(writes, "- vrf/red"), placeOf(writes, "~ updateInProgress = true"));
  EXPECT_THAT(below("vrf"), IsEmpty());
}

// `active` rises at the end of enabling. Services, and rules that name them, come after the
// replay, so `updateInProgress` falls several times before: wait for `active`.
TEST_F(Behaviour, ActiveRisesWhenServicesAndRulesAreThere) {
  application("web", "6");
  rule("10", "web");
  given({"+ source/cli/enabled = false"});
  const Lines writes = writesOf("+ source/cli/enabled = true");
  EXPECT_EQ(writes.back(), "~ active = true");
  EXPECT_LT(placeOf(writes, "~ updateInProgress = false"), placeOf(writes, "+ services/web"));
  EXPECT_GT(std::ranges::count(writes, "~ updateInProgress = false"), 1);
}

// `defaultPolicyDrop` and `forwardType` are made of all sources, disabled ones too, but looked
// at only when an enabled source starts or changes its own: after a change or removal of a
// disabled source, disable and enable an enabled one.
TEST_F(Behaviour, SwitchesOfADisabledSourceCountFromTheNextLookOn) {
  given({"+ source/gnmi/forwardType = routed", "+ source/gnmi/defaultPolicy = forward"});
  EXPECT_EQ(at("forwardType"), "none");
  EXPECT_EQ(at("defaultPolicyDrop"), "true");
  disableAndEnable({"cli"});
  EXPECT_EQ(at("forwardType"), "routed");
  EXPECT_EQ(at("defaultPolicyDrop"), "false");
  given({"- source/gnmi"});
  EXPECT_EQ(at("forwardType"), "routed");
  EXPECT_EQ(at("defaultPolicyDrop"), "false");
  given({"+ source/cli/forwardType = bridged", "+ source/cli/defaultPolicy = drop"});
  EXPECT_EQ(at("forwardType"), "bridged");
  EXPECT_EQ(at("defaultPolicyDrop"), "true");
}

// An application that cannot be compiled keeps no source from running: the error reaches who
// enables the first source, and the factory traces it at level 3. Mend the application, and its
// rules come.
TEST_F(Behaviour, ApplicationThatCannotBeCompiledKeepsNoSourceFromRunning) {
  given({"+ source/cli/enabled = false"});
  application("bad", "9-3");
  application("web", "6");
  rule("10", "bad");
  rule("20", "web");
  EXPECT_EQ(refusalOf("+ source/cli/enabled = true"),
            "Firewall::ProtocolRange::start > _end not allowed");
  EXPECT_EQ(rules().size(), 1U);
  given({"- apps/app/bad/proto/9-3", "+ apps/app/bad/proto/17"});
  EXPECT_EQ(rules().size(), 2U);
  given({"+ apps/app/bad/proto/9-3", "stop"});
  EXPECT_EQ(refusalOf("start"), "");
  EXPECT_EQ(rules().size(), 1U);
}

// These two keep their last values while `active` is false: do not read them then.
TEST_F(Behaviour, SwitchesKeepTheirLastValuesWhileInactive) {
  given({"+ source/cli/forwardType = routed", "+ source/cli/enabled = false"});
  EXPECT_EQ(at("forwardType"), "routed");
  EXPECT_EQ(at("defaultPolicyDrop"), "true");
}

// A source that is disabled beside an enabled one leaves its segments in VRFs that they share
// in the tables: delete them from it first, or disable all.
TEST_F(Behaviour, SegmentsOfADisabledSourceStayInSharedVrfs) {
  given({"+ source/cli/vrf/red/segment/b", "+ source/gnmi/enabled = true",
         "+ source/cli/enabled = false"});
  EXPECT_TRUE(has("vrf/red/segment/b"));
  given({"- source/cli/vrf/red/segment/b"});
  EXPECT_TRUE(has("vrf/red/segment/b")) << "too late: nobody looks any more";
  given({"+ source/gnmi/enabled = false", "+ source/gnmi/enabled = true"});
  EXPECT_FALSE(has("vrf/red/segment/b"));
}

// The tables have one L2 directory: a source that starts makes it anew, and any source with one
// that stops takes it away. Configure L2 segments in one source alone.
TEST_F(Behaviour, L2DirectoryIsOfTheSourceThatCameLast) {
  for (const std::string source : {"cli", "gnmi"}) {
    given({"+ source/" + source + "/l2SegmentDir = l2",
           "+ source/" + source + "/l2SegmentDir/segment/of-" + source});
  }
  EXPECT_TRUE(has("l2Seg/segment/of-cli"));
  given({"+ source/gnmi/enabled = true"});
  EXPECT_FALSE(has("l2Seg/segment/of-cli"));
  EXPECT_TRUE(has("l2Seg/segment/of-gnmi"));
  given({"+ source/cli/enabled = false"});
  EXPECT_FALSE(has("l2Seg"));
}

// A VRF that leaves the IP status while several enabled sources configure it stays in the
// tables, since each leaves it to the others: delete it from all sources but one first.
TEST_F(Behaviour, VrfThatSeveralHaveStaysWhenItLeavesTheStatus) {
  given({"+ source/gnmi/enabled = true", "- ip/vrf/red"});
  EXPECT_TRUE(has("vrf/red"));
  given({"+ ip/vrf/red", "- source/gnmi/vrf/red", "- ip/vrf/red"});
  EXPECT_FALSE(has("vrf/red"));
}

// A source whose configuration cannot be replayed (a class map for a VRF name above 100 bytes,
// say) does not start, and the factory throws when it is enabled already, the tables empty: mend
// it, then disable and enable it.
TEST(BehaviourOfFaults, SourceThatCannotBeReplayedDoesNotStart) {
  RealSwitch real;
  const auto apply = [&real](const History& lines) {
    for (const std::string& line : lines) real.apply(Change(line));
  };
  const std::string wrong = "__VRF_" + std::string(101, 'v') + "_segment_a";
  apply({"start", "+ intf/intfStatus/Ethernet1", "+ ip/ipIntfStatus/Ethernet1 = default",
         "+ source/cli", "+ source/cli/vrf/default", "+ source/cli/vrf/default/segment/a",
         "+ source/cli/vrf/default/segment/a/className = " + wrong,
         "+ source/cli/classMap/" + wrong,
         "+ source/cli/classMap/" + wrong + "/intfVlanData/Ethernet1"});
  EXPECT_THROW(apply({"+ source/cli/enabled = true"}), Pith::RangeException);
  EXPECT_THAT(real.dump(), Contains("active = false"));
  apply({"stop"});
  EXPECT_THROW(apply({"start"}), Pith::RangeException);
  EXPECT_TRUE(real.isEmpty());
  apply({"+ source/cli/vrf/default/segment/a/className = ", "+ source/cli/enabled = false", "start",
         "+ source/cli/enabled = true"});
  EXPECT_THAT(real.dump(), Contains("active = true"));
}

// A source that does not start still counts as enabled: alone it leaves `active` false and the
// tables empty, but when it keeps company to the end and the others are disabled before it,
// `active` stays true and what they leave stays. Disable it too, and all is empty.
TEST(BehaviourOfFaults, SourceThatDoesNotStartStillCountsAsEnabled) {
  RealSwitch real;
  const auto apply = [&real](const History& lines) {
    for (const std::string& line : lines) real.apply(Change(line));
  };
  const std::string wrong = "__VRF_" + std::string(101, 'v') + "_segment_a";
  apply({"start", "+ intf/intfStatus/Ethernet1", "+ ip/ipIntfStatus/Ethernet1 = default",
         "+ source/cli", "+ source/cli/vrf/default", "+ source/cli/vrf/default/segment/a",
         "+ source/cli/vrf/default/segment/a/className = " + wrong,
         "+ source/cli/classMap/" + wrong,
         "+ source/cli/classMap/" + wrong + "/intfVlanData/Ethernet1", "+ source/bgp",
         "+ source/bgp/policy/web"});
  EXPECT_THROW(apply({"+ source/cli/enabled = true"}), Pith::RangeException);
  EXPECT_THAT(real.dump(), Contains("active = false"));
  apply({"+ source/cli/enabled = false", "+ source/bgp/enabled = true"});
  EXPECT_THROW(apply({"+ source/cli/enabled = true"}), Pith::RangeException);
  apply({"+ source/bgp/enabled = false"});
  EXPECT_THAT(real.dump(), Contains("active = true"));
  EXPECT_THAT(real.dump(), Contains("policy/web = "));
  apply({"+ source/cli/enabled = false"});
  EXPECT_TRUE(real.isEmpty());
}

// Acts once, when the output is written so.
class ActsAt final : public Kiv::TreeWatcher {
 public:
  ActsAt(RealSwitch& real, std::string path, std::function<void()> act)
      : TreeWatcher(real.outputs().front()), path_(std::move(path)), act_(std::move(act)) {}

 private:
  void onChange(const Kiv::TreeChange& change) override {
    if (change.path == path_ && act_) std::exchange(act_, nullptr)();
  }
  std::string path_;
  std::function<void()> act_;
};

class BehaviourWithin : public testing::Test {
 protected:
  void apply(const History& lines) {
    for (const std::string& line : lines) real_.apply(Change(line));
  }
  void SetUp() override {
    apply({"start", "+ ip/vrf/red"});
    for (const std::string source : {"cli", "gnmi"}) {
      apply({"+ source/" + source, "+ source/" + source + "/vrf/red",
             "+ source/" + source + "/vrf/red/segment/a", "+ source/" + source + "/policy/p"});
    }
  }
  RealSwitch real_;
};

// An exception that a subscriber of the output throws reaches who wrote, when the work is done;
// thrown at a source that is being enabled it may keep that from starting: disable and enable
// it again. Thrown while a source is removed from its directory it reaches nobody.
TEST_F(BehaviourWithin, ExceptionOfASubscriberReachesTheWriterWhenTheWorkIsDone) {
  apply({"+ source/cli/enabled = true"});
  {
    const ActsAt thrower(real_, "vrf/red/segment/b", [] { throw std::runtime_error("refused"); });
    EXPECT_THROW(apply({"+ source/cli/vrf/red/segment/b"}), std::runtime_error);
  }
  EXPECT_THAT(real_.dump(), Contains("updateInProgress = false"));
  apply({"+ source/cli/enabled = false"});
  {
    const ActsAt thrower(real_, "vrf/red", [] { throw std::runtime_error("refused"); });
    EXPECT_THROW(apply({"+ source/cli/enabled = true"}), std::runtime_error);
  }
  apply({"+ source/cli/enabled = false", "+ source/cli/enabled = true"});
  EXPECT_THAT(real_.dump(), Contains("vrf/red/segment/b = "));
  {
    const ActsAt thrower(real_, "vrf/red/segment/b", [] { throw std::runtime_error("refused"); });
    EXPECT_NO_THROW(apply({"- source/cli"}));
  }
  EXPECT_THAT(real_.dump(), Not(Contains("vrf/red = ")));
  EXPECT_EQ(real_.complaint(), "");
}

// A subscriber of the output may disable a source from within a notification, and enable one
// when it is told that `active` fell. Enabled later, while the tables are being emptied, a
// source loses entries: disable and enable it again.
TEST_F(BehaviourWithin, SubscriberMayDisableAndWhenActiveFellEnableSources) {
  {
    const ActsAt disabler(real_, "vrf/red", [this] { apply({"+ source/cli/enabled = false"}); });
    apply({"+ source/cli/enabled = true"});
  }
  EXPECT_THAT(real_.dump(), Contains("active = false"));
  EXPECT_THAT(real_.dump(), Not(Contains("vrf/red = ")));
  apply({"+ source/cli/enabled = false", "+ source/cli/enabled = true"});
  {
    const ActsAt enabler(real_, "active", [this] { apply({"+ source/gnmi/enabled = true"}); });
    apply({"+ source/cli/enabled = false"});
  }
  EXPECT_THAT(real_.dump(), Contains("vrf/red/segment/a = "));
  EXPECT_THAT(real_.dump(), Contains("policy/p = "));
  apply({"+ source/gnmi/enabled = false", "+ source/cli/enabled = true"});
  {
    const ActsAt late(real_, "vrf/red", [this] { apply({"+ source/gnmi/enabled = true"}); });
    apply({"+ source/cli/enabled = false"});
  }
  EXPECT_THAT(real_.dump(), Not(Contains("policy/p = ")));
  apply({"+ source/gnmi/enabled = false", "+ source/gnmi/enabled = true"});
  EXPECT_THAT(real_.dump(), Contains("policy/p = "));
  EXPECT_EQ(real_.complaint(), "");
}

// A source that is replaced under its name is a removal and an addition: the tables are emptied
// in between if it is the only one enabled.
TEST_F(Behaviour, ReplacedSourceIsRemovedAndAdded) {
  EXPECT_THAT(writesOf("+ source/cli = new"), Contains("- vrf/red"));
  EXPECT_EQ(at("active"), "false");
  given({"+ source/cli/vrf/red", "+ source/cli/enabled = true", "+ source/gnmi/enabled = true"});
  EXPECT_THAT(writesOf("+ source/cli = new"), Not(Contains("- vrf/red")));
}

}  // namespace
