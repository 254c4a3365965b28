// Configurations made of the data of real networks, where they are: lists of countries and clouds,
// an operator's address plan, the port registry, the access lists of a campus.
//
// The data lies outside of the tree: in FIREWALL_TEST_DATA, or in shared/data of a folder above
// this one. Without it the tests pass and say so.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>

#include "agent/Schema/Check.h"
#include "agent/Server/Verify.h"
#include "agent/Store/Reconcile.h"
#include "tests/agent/Program.h"

namespace {

using TestAgent::Folder;
using TestAgent::Result;
using TestAgent::run;

std::filesystem::path realData() {
  if (const char* const given = std::getenv("FIREWALL_TEST_DATA")) return given;
  for (auto folder = std::filesystem::current_path(); folder != folder.root_path();
       folder = folder.parent_path()) {
    if (std::filesystem::is_directory(folder / "shared/data")) return folder / "shared/data";
  }
  return {};
}

// The configuration's file, made in the folder; empty, with a message, without the data.
std::string realConfiguration(const Folder& folder) {
  const auto data = realData();
  if (data.empty() || !std::filesystem::is_directory(data)) {
    std::cout << "no real data here; nothing was tested\n";
    return {};
  }
  const std::string file = folder.path() + "/real.json";
  const Result made = TestAgent::runProgram(
      "/usr/bin/python3", {"tools/configurations.py", "-o", file, "real", data.string()});
  EXPECT_EQ(made.status, 0) << made.err;
  return file;
}

TEST(RealConfiguration, IsCompiledWithWarningsAlone) {
  const Folder folder;
  const std::string file = realConfiguration(folder);
  if (file.empty()) return;
  const Result result = run({"compile", "--max-errors", "3", file});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_NE(result.out.find("VRF production"), std::string::npos);
  EXPECT_NE(result.out.find("Policy boza 151"), std::string::npos);
  // Lists of countries and clouds overlap.
  EXPECT_NE(result.err.find("claims the same"), std::string::npos) << result.err;
}

TEST(RealConfiguration, RunningOutputIsThatOfAFreshStart) {
  const Folder folder;
  const std::string file = realConfiguration(folder);
  if (file.empty()) return;
  Agent::Diagnostics diagnostics;
  Agent::Document document = Agent::load({file}, diagnostics);
  Agent::check(document, diagnostics);
  ASSERT_EQ(diagnostics.errors(), 0U);
  Agent::Store store;
  apply(planOf(store, document.root), store);
  store.start();
  EXPECT_EQ(planOf(store, document.root).size(), 0U);
  EXPECT_TRUE(Agent::verify(store).empty());
  EXPECT_GT(store.hwConfig->policy().size(), 250U);
  EXPECT_GT(store.hwConfig->services().size(), 6000U);
}

TEST(RealConfiguration, EveryRuleOfAnAccessListReachesTheHardware) {
  const Folder folder;
  const std::string file = realConfiguration(folder);
  if (file.empty()) return;
  const Result result = run({"explain", "-f", file, "rule", "bbra 1", "10"});
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(result.out.find("171.67.1.0/24"), std::string::npos) << result.out;
  EXPECT_NE(result.out.find("the hardware has 1 rule:"), std::string::npos) << result.out;
}

}  // namespace
