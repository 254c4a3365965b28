// Configurations made of the data of real networks, where they are: lists of countries and clouds,
// an operator's address plan, the port registry, the access lists of a campus, a full routing
// table.
//
// The data lies outside of the tree: in FIREWALL_TEST_DATA, or in shared/data of a folder above
// this one. Without it the tests pass and say so.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "agent/Schema/Check.h"
#include "agent/Server/Verify.h"
#include "agent/Store/Reconcile.h"
#include "agent/View/PacketTrace.h"
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
std::string realConfiguration(const Folder& folder, const std::string& kind = "real") {
  const auto data = realData();
  if (data.empty() || !std::filesystem::is_directory(data)) {
    std::cout << "no real data here; nothing was tested\n";
    return {};
  }
  const std::string file = folder.path() + "/real.json";
  const Result made = TestAgent::runProgram(
      "/usr/bin/python3", {"tools/configurations.py", "-o", file, kind, data.string()});
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

TEST(RealConfiguration, EveryCommandAnswersOnIt) {
  const Folder folder;
  const std::string file = realConfiguration(folder);
  if (file.empty()) return;
  const Result claimed = run({"explain", "-f", file, "prefix", "internet", "8.8.8.0/24"});
  EXPECT_EQ(claimed.status, 0) << claimed.out << claimed.err;
  EXPECT_NE(claimed.out.find("matchList:cloud_google"), std::string::npos) << claimed.out;
  const Result traced = run(
      {"trace", "-q", "-f", file, "--vrf", "internet", "8.8.8.8", "1.0.1.1", "udp", "53", "53"});
  EXPECT_EQ(traced.status, 0);
  EXPECT_NE(traced.out.find("by the VRF-wide prefix 8.8.8.0/24"), std::string::npos) << traced.out;
  EXPECT_NE(traced.out.find("segment \"country_cn\""), std::string::npos) << traced.out;
  std::string text = TestAgent::contentOf(file);
  const std::string drop = "\"action\": \"drop\"";
  text.replace(text.find(drop), drop.size(), "\"action\": \"forward\"");
  const Result changed = run({"diff", "-q", "--exit-code", file, folder.file("b.json", text)});
  EXPECT_EQ(changed.status, 1) << changed.err;
  EXPECT_NE(changed.out.find("\n2 writes, 0 while updateInProgress was true"), std::string::npos)
      << changed.out;
  const std::string socket = folder.path() + "/socket";
  TestAgent::Running agent({"run", "-q", "--socket", socket, file});
  agent.waitFor("ready");
  EXPECT_EQ(run({"verify", "--socket", socket}).out,
            "the output is what its configuration makes\n");
}

std::vector<Lanx::IpGenPrefix> routesOf(const char* name) {
  std::vector<Lanx::IpGenPrefix> routes;
  std::ifstream lines(realData() / "prefixes" / name);
  for (std::string line; std::getline(lines, line);) {
    routes.push_back(Lanx::IpGenPrefix::parse(line));
  }
  return routes;
}

TEST(RealConfiguration, AFullRoutingTableIsHeldAndSearched) {
  const Folder folder;
  const std::string file = realConfiguration(folder, "routes");
  if (file.empty()) return;
  std::vector<Lanx::IpGenPrefix> routes = routesOf("bgp_full_v4.txt");
  const std::vector<Lanx::IpGenPrefix> ipv6 = routesOf("bgp_full_v6.txt");
  routes.insert(routes.end(), ipv6.begin(), ipv6.end());
  Agent::Diagnostics diagnostics;
  Agent::Document document = Agent::load({file}, diagnostics);
  Agent::check(document, diagnostics);
  ASSERT_EQ(diagnostics.errors(), 0U);
  Agent::Store store;
  apply(planOf(store, document.root), store);
  store.start();
  const auto vrf = store.hwConfig->vrf("default");
  EXPECT_EQ(vrf->segment("internet")->subnets().size(), routes.size());
  EXPECT_EQ(vrf->prefixList().size(), routes.size() + 1);
  EXPECT_TRUE(planOf(store, document.root).empty());

  // The longest of the routes, found by looking at each.
  std::mt19937 random(1);  // NOLINT(cert-msc51-cpp): the same addresses in every run
  for (int i = 0; i < 20; ++i) {
    Agent::Packet packet;
    packet.source = Lanx::IpGenAddr::parse("10.0.0.1");
    packet.destination = routes[random() % routes.size()].address();
    packet.protocol = 6;
    packet.destinationPort = 80;
    const Lanx::IpGenPrefix* longest = nullptr;
    for (const Lanx::IpGenPrefix& route : routes) {
      if (!route.contains(packet.destination)) continue;
      if (longest == nullptr || route.length() > longest->length()) longest = &route;
    }
    std::ostringstream steps;
    EXPECT_EQ(Agent::PacketTrace(*store.hwConfig).of(packet, steps), Agent::Verdict::drop);
    EXPECT_NE(steps.str().find("segment \"internet\", by the VRF-wide prefix " +
                               longest->toString() + "\n"),
              std::string::npos)
        << steps.str();
  }
}

}  // namespace
