// An application that cannot be compiled: who enabled the source, or changed the application, hears
// of it, and nothing else is kept from working.
#include <gtest/gtest.h>

#include "framework/Pith/RangeException.h"
#include "tests/support/Switch.h"
#include "tests/support/TraceCapture.h"

namespace {

class BadApplicationTest : public TestSupport::SwitchTest {
 protected:
  void SetUp() override {
    SwitchTest::SetUp();
    sw().application("b", 6, "80");
    // A protocol range that begins above its end.
    sw().appRecConfig->appIs("a")->protoIs(wrong_);
    sw().source("cli");
  }
  void correct() { sw().appRecConfig->app("a")->protoDel(wrong_); }
  std::uint32_t version(const char* service) {
    const auto found = sw().hwConfig->services(service);
    return found ? found->version() : 0;
  }
  void expectRunning() {
    EXPECT_TRUE(sw().hwConfig->active());
    EXPECT_TRUE(sw().root->appRecogConfigSm());
    EXPECT_TRUE(sw().rootSm("cli"));
    EXPECT_EQ(version("b"), 1U);
    EXPECT_FALSE(sw().hwConfig->updateInProgress());
  }
  // The next changes are handled as if the bad application had not been there.
  void expectTheNextChangesHandled() {
    correct();
    EXPECT_EQ(version("a"), 1U);
    sw().appRecConfig->app("b")->protoIs({17, 17});
    EXPECT_EQ(version("b"), 2U);
  }

 private:
  const Classification::ProtocolRange wrong_{9, 3};
};

TEST_F(BadApplicationTest, ReachesWhoEnablesTheSourceWhichRuns) {
  sw().start();
  EXPECT_THROW(sw().source("cli")->enabledIs(true), Pith::RangeException);
  expectRunning();
  expectTheNextChangesHandled();
}

TEST_F(BadApplicationTest, ReachesWhoAddsAnEnabledSourceWhichRuns) {
  sw().fwConfigDir->entityDel("cli");
  sw().start();
  const auto cli = Kiv::make<Firewall::Config>("cli");
  cli->enabledIs(true);
  EXPECT_THROW(sw().fwConfigDir->entityIs("cli", cli), Pith::RangeException);
  expectRunning();
  expectTheNextChangesHandled();
  cli->enabledIs(false);
  EXPECT_FALSE(sw().hwConfig->active());
  EXPECT_FALSE(sw().root->appRecogConfigSm());
}

TEST_F(BadApplicationTest, DoesNotKeepTheRootFromStartingAndIsTraced) {
  const TestSupport::TraceCapture traces(3, "Firewall/*");
  sw().source("cli")->enabledIs(true);
  ASSERT_NO_THROW(sw().start());
  expectRunning();
  EXPECT_TRUE(
      traces.saw(3, "handleInitialized",
                 "Source cli runs, but: Firewall::ProtocolRange::start > _end not allowed"));
  expectTheNextChangesHandled();
}

}  // namespace
