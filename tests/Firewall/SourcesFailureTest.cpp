// What is thrown, or written, at the library while a source comes and goes: the tree is whole
// afterwards.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <utility>

#include "framework/Kiv/TreeWatcher.h"
#include "framework/Pith/RangeException.h"
#include "tests/support/FullConfiguration.h"
#include "tests/support/OnWrite.h"
#include "tests/support/Switch.h"

namespace {

// Acts once, at the n-th write of the output, wherever in it.
class ActsAt final : public Kiv::TreeWatcher {
 public:
  ActsAt(const Firewall::HwConfig::Ptr& hwConfig, int n, std::function<void()> act)
      : TreeWatcher(hwConfig), left_(n), act_(std::move(act)) {}
  bool acted() const { return left_ == 0; }

 private:
  void onChange(const Kiv::TreeChange&) override {
    if (left_ > 0 && --left_ == 0) act_();
  }
  int left_;
  std::function<void()> act_;
};

void refuse() { throw std::runtime_error("refused"); }

class SourcesFailureTest : public TestSupport::SwitchTest {
 protected:
  void expectWhole(int n) {
    ASSERT_TRUE(sw().hwConfig->active()) << n;
    ASSERT_TRUE(sw().root->appRecogConfigSm()) << n;
    ASSERT_EQ(sw().hwConfig->vrf().size(), 3U) << n;
    ASSERT_TRUE(sw().hwConfig->l2Seg()) << n;
    ASSERT_EQ(sw().hwConfig->services().size(), 3U) << n;
    ASSERT_FALSE(sw().hwConfig->policy("web-only")->rule().empty()) << n;
    ASSERT_FALSE(sw().hwConfig->updateInProgress()) << n;
  }
  void expectEmpty(int n) {
    ASSERT_FALSE(sw().hwConfig->active()) << n;
    ASSERT_FALSE(sw().root->appRecogConfigSm()) << n;
    ASSERT_FALSE(sw().rootSm("cli")) << n;
    ASSERT_TRUE(sw().hwConfig->vrf().empty()) << n;
    ASSERT_TRUE(sw().hwConfig->policy().empty()) << n;
    ASSERT_FALSE(sw().hwConfig->l2Seg()) << n;
    ASSERT_TRUE(sw().hwConfig->services().empty()) << n;
    ASSERT_TRUE(sw().firewallStatus->service().empty()) << n;
    ASSERT_FALSE(sw().hwConfig->updateInProgress()) << n;
    ASSERT_EQ(sw().root->activeWorkManager()->activeHandles(), 0U) << n;
  }
};

TEST_F(SourcesFailureTest, SubscriberThatThrowsAtAnyWriteLeavesTheTreeWhole) {
  TestSupport::shareConfiguration(sw());
  const auto cli = TestSupport::fullSource(sw(), "cli");
  sw().start();
  bool threw = true;
  int writes = 0;
  for (int n = 1; threw && !HasFatalFailure(); ++n) {
    {
      const ActsAt thrower(sw().hwConfig, n, refuse);
      int caught = 0;
      for (const bool enabled : {true, false}) {
        try {
          cli->enabledIs(enabled);
        } catch (const std::runtime_error&) {
          ++caught;
          ASSERT_FALSE(sw().hwConfig->updateInProgress()) << n;
        }
      }
      threw = thrower.acted();
      ASSERT_EQ(caught, threw ? 1 : 0) << n << ": it reaches the writer";
    }
    expectEmpty(n);
    // The next change is handled as if nothing had happened.
    cli->enabledIs(true);
    expectWhole(n);
    cli->enabledIs(false);
    expectEmpty(n);
    writes = n;
  }
  EXPECT_GT(writes, 100);
}

TEST_F(SourcesFailureTest, SourceDisabledFromWithinAnyWriteOfItsEnablingLeavesNothing) {
  TestSupport::shareConfiguration(sw());
  const auto cli = TestSupport::fullSource(sw(), "cli");
  sw().start();
  bool acted = true;
  for (int n = 1; acted && !HasFatalFailure(); ++n) {
    const ActsAt disabler(sw().hwConfig, n, [&] { cli->enabledIs(false); });
    cli->enabledIs(true);
    acted = disabler.acted();
    acted ? expectEmpty(n) : expectWhole(n);
  }
}

TEST_F(SourcesFailureTest, SourceEnabledWhenActiveFallsTakesTheOutputOver) {
  TestSupport::shareConfiguration(sw());
  const auto cli = TestSupport::fullSource(sw(), "cli");
  const auto api = TestSupport::fullSource(sw(), "api");
  cli->l2SegmentDirDel();
  cli->enabledIs(true);
  sw().start();
  {
    const ActsAt enabler(sw().hwConfig, 1, [&] { api->enabledIs(true); });
    cli->enabledIs(false);
    ASSERT_TRUE(enabler.acted());
  }
  EXPECT_FALSE(sw().rootSm("cli"));
  expectWhole(0);
  api->enabledIs(false);
  expectEmpty(0);
}

// The last segment of the default VRF cannot be bound to the interfaces of its class map.
void misconfigure(Firewall::Config& config, bool wrong) {
  const std::string name = "__VRF_" + std::string(wrong ? 101 : 1, 'v') + "_segment_z";
  config.classMapIs(name)->intfVlanDataIs(Lanx::IntfId{std::string_view("Ethernet5")});
  config.vrfIs("default")->segmentIs("z")->classNameIs(name);
}

TEST_F(SourcesFailureTest, SourceThatCannotStartLeavesNothing) {
  TestSupport::shareConfiguration(sw());
  const auto cli = TestSupport::fullSource(sw(), "cli");
  misconfigure(*cli, true);
  sw().start();
  EXPECT_THROW(cli->enabledIs(true), Pith::RangeException);
  expectEmpty(0);
  cli->enabledIs(false);
  misconfigure(*cli, false);
  cli->enabledIs(true);
  expectWhole(0);
}

TEST_F(SourcesFailureTest, SourceThatCannotStartLeavesWhatTheOthersHave) {
  TestSupport::shareConfiguration(sw());
  TestSupport::fullSource(sw(), "cli")->enabledIs(true);
  sw().ipStatus->vrfIs(L3::VrfName("green"));
  const auto api = sw().source("api");
  api->vrfIs("green");
  misconfigure(*api, true);
  sw().start();
  EXPECT_THROW(api->enabledIs(true), Pith::RangeException);
  EXPECT_FALSE(sw().rootSm("api"));
  EXPECT_FALSE(sw().hwConfig->vrfHas("green"));
  expectWhole(0);
}

// A source whose start failed, beside one that runs: the output is active exactly while one of the
// two is enabled.
class SourceThatFailedTest : public SourcesFailureTest {
 protected:
  void SetUp() override {
    SourcesFailureTest::SetUp();
    sw().source("bgp")->policyIs("p");
    sw().source("bgp")->enabledIs(true);
    sw().ipStatus->vrfIs(L3::VrfName("red"));
    sw().matchLists("lists");
    sw().source("cli")->vrfIs("red")->segmentIs("a")->prefixIpv4MlIs({7, "web"});
  }
  void expectInactiveAndEmpty() {
    EXPECT_FALSE(sw().hwConfig->active());
    EXPECT_FALSE(sw().root->appRecogConfigSm());
    EXPECT_TRUE(sw().hwConfig->policy().empty());
    EXPECT_TRUE(sw().hwConfig->vrf().empty());
  }
};

TEST_F(SourceThatFailedTest, IsNoLongerActiveWhenItIsDisabledLast) {
  sw().start();
  EXPECT_THROW(sw().source("cli")->enabledIs(true), Pith::RangeException);
  sw().source("bgp")->enabledIs(false);
  EXPECT_TRUE(sw().hwConfig->active()) << "cli is enabled";
  sw().source("cli")->enabledIs(false);
  expectInactiveAndEmpty();
}

TEST_F(SourceThatFailedTest, IsNoLongerActiveWhenItIsRemovedLast) {
  sw().start();
  EXPECT_THROW(sw().source("cli")->enabledIs(true), Pith::RangeException);
  sw().source("bgp")->enabledIs(false);
  sw().fwConfigDir->entityDel("cli");
  expectInactiveAndEmpty();
}

TEST_F(SourceThatFailedTest, ThatJoinedEnabledIsTriedAgainWhenItIsDisabledAndEnabled) {
  sw().start();
  const auto cli = Kiv::make<Firewall::Config>("api");
  cli->enabledIs(true);
  cli->vrfIs("red")->segmentIs("a")->prefixIpv4MlIs({7, "web"});
  EXPECT_THROW(sw().fwConfigDir->entityIs("api", cli), Pith::RangeException);
  EXPECT_FALSE(sw().rootSm("api"));
  sw().source("bgp")->enabledIs(false);
  cli->vrf("red")->segment("a")->prefixIpv4MlIs({});
  cli->enabledIs(false);
  expectInactiveAndEmpty();
  cli->enabledIs(true);
  EXPECT_TRUE(sw().rootSm("api"));
  EXPECT_TRUE(sw().hwConfig->active());
}

// The first source is being made: the factory has not returned, and nothing says yet that it runs.
TEST_F(SourceThatFailedTest, LeavesWhatASourceThatIsJustBeingMadeHasWritten) {
  sw().source("bgp")->enabledIs(false);
  sw().start();
  const TestSupport::OnWrite enableAnother(sw().hwConfig, [&](const Kiv::TreeChange&) {
    if (!sw().hwConfig->policyHas("p") || sw().source("cli")->enabled()) return;
    EXPECT_THROW(sw().source("cli")->enabledIs(true), Pith::RangeException);
  });
  sw().source("bgp")->enabledIs(true);
  ASSERT_TRUE(sw().source("cli")->enabled());
  EXPECT_FALSE(sw().rootSm("cli"));
  EXPECT_TRUE(sw().hwConfig->policyHas("p"));
  EXPECT_TRUE(sw().hwConfig->active());
}

TEST_F(SourceThatFailedTest, LeavesNothingBehindBesideAnotherThatFailed) {
  sw().source("bgp")->vrfIs("red")->segmentIs("a")->prefixIpv4MlIs({7, "web"});
  sw().source("bgp")->enabledIs(false);
  sw().start();
  for (const char* const name : {"cli", "bgp"}) {
    EXPECT_THROW(sw().source(name)->enabledIs(true), Pith::RangeException);
    EXPECT_TRUE(sw().hwConfig->vrf().empty()) << name;
    EXPECT_TRUE(sw().hwConfig->policy().empty()) << name;
  }
}

}  // namespace
