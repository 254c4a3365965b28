// Published address lists as match lists: a country's is applied, switched to a cloud provider's
// and back.
//
// The data lies outside of the tree: in FIREWALL_TEST_DATA, or in shared/data of a folder above
// this one. Where it is absent the tests pass and say so.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <set>
#include <string>

#include "tests/Firewall/PathFixture.h"

#ifndef FIREWALL_SOURCE_DIR
#define FIREWALL_SOURCE_DIR "."
#endif

namespace {

namespace fs = std::filesystem;
using Firewall::ListSource;
using Lanx::IpGenAddrWithMask;
using SubnetSet = std::set<IpGenAddrWithMask>;

fs::path dataFolder() {
  if (const char* given = std::getenv("FIREWALL_TEST_DATA"); given != nullptr) return given;
  fs::path folder = fs::absolute(FIREWALL_SOURCE_DIR).lexically_normal();
  for (; folder != folder.root_path(); folder = folder.parent_path()) {
    if (fs::is_directory(folder / "shared" / "data")) return folder / "shared" / "data";
  }
  return {};
}

class MatchListRealDataTest : public TestSupport::PathTest {
 protected:
  // Makes the match list, and a prefix list of that name; empty without data.
  SubnetSet load(const std::string& name) {
    SubnetSet subnets;
    std::ifstream file(dataFolder() / "matchlists" / (name + ".txt"));
    std::string line;
    std::uint32_t seqnum = 0;
    while (std::getline(file, line)) {
      matchListAdd(name, line);
      entry(name, ++seqnum, line);
      subnets.insert(IpGenAddrWithMask::parse(line));
    }
    if (subnets.empty()) std::cout << "passed without data: no match list " << name << " found\n";
    return subnets;
  }
  void choose(const ListSource& source) {
    segment("a")->prefixIpv4MlIs(source);
    segment("a")->prefixIpv6MlIs(source);
  }
  void expectHas(const SubnetSet& wanted) {
    SubnetSet local;
    for (const auto& subnet : output("a")->subnets()) local.insert(subnet.key);
    EXPECT_TRUE(local == wanted);
    EXPECT_EQ(fwVrf().prefixList().size(), wanted.size());
    EXPECT_TRUE(std::all_of(wanted.begin(), wanted.end(), [this](const IpGenAddrWithMask& subnet) {
      const auto* const name = fwVrf().prefixList(Lanx::IpGenPrefix(subnet));
      return name != nullptr && *name == "a";
    }));
  }
};

TEST_F(MatchListRealDataTest, ACountryIsSwitchedToACloudAndBack) {
  const SubnetSet country = load("country_de");
  const SubnetSet cloud = load("cloud_google");
  if (country.empty() || cloud.empty()) return;
  const auto sm = reactor("a");
  choose(ListSource::matchList("country_de"));
  expectHas(country);
  SubnetSet both;
  std::set_intersection(country.begin(), country.end(), cloud.begin(), cloud.end(),
                        std::inserter(both, both.end()));
  bool hasLeft = false;
  {
    const TestSupport::OnWrite watch(sw().hwConfig, [&](const Kiv::TreeChange& change) {
      if (change.kind != Kiv::TreeChange::Kind::removed) return;
      hasLeft = hasLeft || std::any_of(both.begin(), both.end(), [&](const auto& subnet) {
                  return change.path == local("a", subnet.toString());
                });
    });
    choose(ListSource::matchList("cloud_google"));
  }
  EXPECT_FALSE(hasLeft);
  expectHas(cloud);
  choose(ListSource::prefixList("country_de"));
  expectHas(country);
  choose(ListSource::matchList("country_de"));
  choose(ListSource());
  expectHas({});
}

TEST_F(MatchListRealDataTest, TwoSegmentsShareACloudAndOneInheritsItAll) {
  const SubnetSet cloud = load("cloud_google");
  if (cloud.empty()) return;
  for (const char* name : {"b", "a"}) {
    reactor(name);
    segment(name)->prefixIpv4MlIs(ListSource::matchList("cloud_google"));
    segment(name)->prefixIpv6MlIs(ListSource::matchList("cloud_google"));
  }
  const auto isOwned = [this](const char* name) {
    bool isOwnedByName = true;
    for (const auto& prefix : fwVrf().prefixList()) isOwnedByName &= prefix.value == name;
    return isOwnedByName;
  };
  EXPECT_TRUE(isOwned("b"));
  reactor("b")->cleanup();
  EXPECT_TRUE(isOwned("a"));
  expectHas(cloud);
}

}  // namespace
