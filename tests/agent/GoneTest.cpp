// What has left the output while something there still refers to it.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>

#include "agent/Process/ExitStatus.h"
#include "agent/Server/Questions.h"
#include "agent/Server/Verify.h"
#include "agent/View/CompiledText.h"
#include "agent/View/CompiledTree.h"
#include "agent/View/Text.h"
#include "agent/View/Writes.h"

namespace {

class GoneTest : public ::testing::Test {
 protected:
  GoneTest() {
    EXPECT_EQ(running_.begin(), Agent::done);
    segment_ = store().hwConfig->vrf("default")->segment("servers");
    segment_->fallbackPolicyIs(store().hwConfig->policy("to-anything"));
  }

  Agent::Store& store() { return running_.store(); }
  std::string show(const std::string& path) { return answerTo(running_, {"show", path}).text; }

  Agent::RunningConfiguration running_{{"examples/campus"}, Agent::CommonOptions{}};
  Firewall::FwSegment::Ptr segment_;
};

const std::string servers = "hwConfig/vrf/default/segment/servers";

TEST_F(GoneTest, ALinkToAPolicyIsShownByItsName) {
  EXPECT_EQ(show(servers + "/fallbackPolicy"), "to-anything\n");
  EXPECT_EQ(show(servers + "/fromSegment/staff"), "segment=staff,policy=to-servers\n");
}

TEST_F(GoneTest, ALinkToAPolicyThatHasGoneIsShownByTheNameThatItHad) {
  store().hwConfig->policyDel("to-servers");
  store().hwConfig->policyDel("to-anything");
  ASSERT_EQ(segment_->fromSegment("staff")->policy->name(), Pith::String("to-servers"));
  EXPECT_EQ(show(servers + "/fallbackPolicy"), "to-anything (gone)\n");
  EXPECT_EQ(show(servers + "/fromSegment/staff"), "segment=staff,policy=to-servers (gone)\n");
  const std::string shown = show(servers);
  EXPECT_NE(shown.find("\"fallbackPolicy\": \"to-anything (gone)\""), std::string::npos) << shown;
  EXPECT_NE(shown.find("\"policy\": \"to-servers (gone)\""), std::string::npos) << shown;
}

TEST_F(GoneTest, SoItIsInTheTables) {
  store().hwConfig->policyDel("to-servers");
  std::ostringstream tables;
  Agent::printCompiled(tables, *store().hwConfig, {.width = 200});
  EXPECT_NE(tables.str().find("staff (to-servers (gone))"), std::string::npos) << tables.str();
  const std::string tree = compiledTree(store(), true);
  EXPECT_NE(tree.find("\"to-servers (gone)\""), std::string::npos);
  EXPECT_EQ(tree.find("Firewall::"), std::string::npos);
}

TEST_F(GoneTest, SoVerifyTellsOfIt) {
  store().hwConfig->policyDel("to-servers");
  const auto differences = Agent::verify(store());
  const auto link = std::find_if(differences.begin(), differences.end(), [](const auto& each) {
    return each.path == "vrf/default/segment/servers/fromSegment/staff";
  });
  ASSERT_NE(link, differences.end());
  EXPECT_EQ(link->running, "segment=staff,policy=to-servers (gone)");
  EXPECT_EQ(link->fresh, "segment=staff,policy=to-servers");
}

TEST_F(GoneTest, SoAWriteOfItIsTold) {
  const auto policy = store().hwConfig->policy("to-servers");
  store().hwConfig->policyDel("to-servers");
  Agent::WriteRecord record(store().hwConfig);
  segment_->fallbackPolicyIs(policy);
  ASSERT_EQ(record.writes().size(), 1U);
  EXPECT_EQ(record.writes()[0].value, "to-servers (gone)");
}

TEST_F(GoneTest, ASegmentThatWentWithItsVrfIsShownByItsName) {
  const auto vrf = store().hwConfig->vrf("default");
  const auto staff = vrf->segment("staff");
  EXPECT_EQ(Agent::linkText(staff), "staff");
  vrf->segmentDel("staff");
  EXPECT_EQ(Agent::linkText(staff), "staff (gone)");
  EXPECT_EQ(Agent::linkText(Pith::Ptr<Firewall::FwSegment>()), "-");
}

// A name with what a path writes otherwise, and a new policy under the name of the one that went.
TEST_F(GoneTest, ANewPolicyOfTheNameIsAnotherOne) {
  const auto made = store().hwConfig->policyIs("a/b");
  EXPECT_EQ(Agent::linkText(made), "a/b");
  store().hwConfig->policyDel("a/b");
  EXPECT_EQ(Agent::linkText(made), "a/b (gone)");
  EXPECT_EQ(Agent::linkText(store().hwConfig->policyIs("a/b")), "a/b");
}

}  // namespace
