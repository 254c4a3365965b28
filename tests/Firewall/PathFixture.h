// The reactors of match-list paths by themselves, over the inputs and outputs of a test switch that
// has no root: what is written, they have written.
//
//   class MyTest : public TestSupport::PathTest {};
//   TEST_F(MyTest, ...) {
//     matchList("web", {"10.0.0.0/8"});
//     auto sm = reactor("a");                                     // segment "a" of VRF "red"
//     segment("a")->prefixIpv4MlIs(ListSource::matchList("web"));
//     EXPECT_THAT(subnets("a"), ElementsAre("10.0.0.0/8"));
//     EXPECT_EQ(owner("10.0.0.0/8"), "a");                        // the VRF-wide list
//   }
//
// The hardware takes a VRF-wide list, and sources are enabled, until the test says otherwise. Lists
// are of the family of their texts.
#pragma once

#include <map>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "Firewall/Prefixes/MatchListConfigPathSm.h"
#include "tests/support/OnWrite.h"
#include "tests/support/Switch.h"

namespace TestSupport {

using Texts = std::vector<std::string>;

class PathTest : public SwitchTest {
 protected:
  using Sm = Firewall::MatchListConfigPathSm;

  void SetUp() override {
    SwitchTest::SetUp();
    sw().hwCapability->globalPrefixListSupportedIs(true);
    fwVrf_ = sw().hwConfig->vrfIs("red");
    activeWorkManager_ = Firewall::activeWorkManagerFactory(sw().hwConfig);
  }
  void TearDown() override {
    reactors_.clear();
    fwVrf_ = nullptr;
    activeWorkManager_ = nullptr;
    SwitchTest::TearDown();
  }

  // The VRF in the output, and in a source.
  Firewall::FwVrf& fwVrf() { return *fwVrf_; }
  Firewall::Vrf::Ptr vrf(const std::string& source = "cli") {
    const auto config = sw().source(source);
    if (!config->vrfHas("red")) config->enabledIs(true);
    return config->vrfIs("red");
  }
  Firewall::Segment::Ptr segment(const std::string& name, const std::string& source = "cli") {
    return vrf(source)->segmentIs(name);
  }
  Firewall::FwSegment::Ptr output(const std::string& name) { return fwVrf_->segmentIs(name); }

  // The reactor of the segment for the path, made at the first call.
  Sm::Ptr reactor(const std::string& segmentName, const std::string& source = "cli",
                  const std::string& path = "lists") {
    auto& sm = reactors_[{segmentName, source, path}];
    if (!sm) {
      sm = Firewall::matchListConfigPathSmFactory(
          path, segmentName, sw().fwConfigDir, fwVrf_, sw().matchListConfigDir,
          sw().matchLists(path), segment(segmentName, source), output(segmentName),
          sw().hwCapability, sw().aclListConfig, activeWorkManager_);
    }
    return sm;
  }
  void drop(const std::string& segmentName, const std::string& source = "cli",
            const std::string& path = "lists") {
    reactors_.erase({segmentName, source, path});
  }

  static bool isIpv6(const std::string& text) { return text.find(':') != std::string::npos; }

  void matchListAdd(const std::string& list, const std::string& subnet,
                    const std::string& path = "lists") {
    const auto lists = sw().matchLists(path);
    if (isIpv6(subnet)) {
      lists->matchIpv6PrefixListIs(list)->subnetsIs(Lanx::Ip6AddrWithMask::parse(subnet));
    } else {
      lists->matchIpv4PrefixListIs(list)->subnetsIs(Lanx::IpAddrWithMask::parse(subnet));
    }
  }
  void matchListRemove(const std::string& list, const std::string& subnet,
                       const std::string& path = "lists") {
    const auto lists = sw().matchLists(path);
    if (isIpv6(subnet)) {
      lists->matchIpv6PrefixList(list)->subnetsDel(Lanx::Ip6AddrWithMask::parse(subnet));
    } else {
      lists->matchIpv4PrefixList(list)->subnetsDel(Lanx::IpAddrWithMask::parse(subnet));
    }
  }
  void matchList(const std::string& list, const Texts& subnets, const std::string& path = "lists") {
    for (const std::string& subnet : subnets) matchListAdd(list, subnet, path);
  }

  void entry(const std::string& list, std::uint32_t seqnum, const std::string& prefix,
             Acl::Action action = Acl::Action::permit) {
    if (isIpv6(prefix)) {
      sw().aclListConfig->ipv6PrefixListIs(list)->ipv6PrefixEntryIs(
          seqnum, Lanx::Ip6Prefix::parse(prefix), action);
    } else {
      sw().aclListConfig->prefixListIs(list)->prefixEntryIs(seqnum, Lanx::Prefix::parse(prefix),
                                                            action);
    }
  }
  // Permits, under 10, 20 and so on.
  void prefixList(const std::string& list, const Texts& prefixes) {
    std::uint32_t seqnum = 0;
    for (const std::string& prefix : prefixes) entry(list, seqnum += 10, prefix);
  }

  void globalPrefix(const std::string& prefix, const std::string& segmentName,
                    const std::string& source = "cli") {
    vrf(source)->prefixIs(Lanx::IpGenPrefix::parse(prefix), segmentName);
  }

  // What the segment has in the output, in order of arrival.
  Texts subnets(const std::string& segmentName) {
    Texts texts;
    for (const auto& subnet : output(segmentName)->subnets()) {
      EXPECT_TRUE(subnet.value);
      texts.push_back(subnet.key.toString());
    }
    return texts;
  }
  // To whom the VRF-wide list gives the prefix; empty for nobody.
  std::string owner(const std::string& prefix) {
    const Pith::String* const name = fwVrf_->prefixList(Lanx::IpGenPrefix::parse(prefix));
    return name == nullptr ? "" : std::string(name->view());
  }
  // The path of a subnet of a segment, and of a prefix, as the recorder writes it.
  static std::string local(const std::string& segmentName, const std::string& subnet) {
    return "vrf/red/segment/" + segmentName + "/subnets/" + escaped(subnet);
  }
  static std::string wide(const std::string& prefix) {
    return "vrf/red/prefixList/" + escaped(prefix);
  }

 private:
  static std::string escaped(const std::string& text) {
    std::string path;
    Kiv::appendPathKey(path, text);
    return path;
  }

  Firewall::FwVrf::Ptr fwVrf_;
  Firewall::ActiveWorkManager::Ptr activeWorkManager_;
  std::map<std::tuple<std::string, std::string, std::string>, Sm::Ptr> reactors_;
};

// A family, for tests that hold for both: its names and how its subnets are made.
struct Ipv4 {
  static std::string subnet(int n) { return "10." + std::to_string(n) + ".0.0/16"; }
  static std::string withHostBits(int n) { return "10." + std::to_string(n) + ".0.1/16"; }
  static std::string otherFamily(int n) { return "2001:db8:" + std::to_string(n) + "::/48"; }
  static void choose(Firewall::Segment& segment, const Firewall::ListSource& source) {
    segment.prefixIpv4MlIs(source);
  }
  static void chooseOther(Firewall::Segment& segment, const Firewall::ListSource& source) {
    segment.prefixIpv6MlIs(source);
  }
  static void handle(Firewall::MatchListConfigPathSm& sm) { sm.handleIpv4PrefixList(); }
  static void handle(Firewall::MatchListConfigPathSm& sm, const Pith::String& name) {
    sm.handleIpv4PrefixList(name);
  }
  static void clean(Firewall::MatchListConfigPathSm& sm) { sm.cleanIpv4PrefixList(); }
  static void matchListDel(MatchList::Config& lists, const Pith::String& name) {
    lists.matchIpv4PrefixListDel(name);
  }
  static auto matchListIs(MatchList::Config& lists, const Pith::String& name) {
    return lists.matchIpv4PrefixListIs(name);
  }
  static void prefixListDel(Acl::AclListConfig& lists, const Pith::String& name) {
    lists.prefixListDel(name);
  }
  static auto prefixListIs(Acl::AclListConfig& lists, const Pith::String& name) {
    return lists.prefixListIs(name);
  }
  static void entryDel(Acl::AclListConfig& lists, const Pith::String& name, std::uint32_t seqnum) {
    lists.prefixList(name)->prefixEntryDel(seqnum);
  }
  static constexpr auto family = Lanx::AddressFamily::ipv4;
  static constexpr auto handleName = "handleIpv4PrefixList";
  static constexpr auto cleanName = "cleanIpv4PrefixList";
  static constexpr int cleanLevel = 8;
  static constexpr auto prefixName = "handleIpv4Prefix";
  static constexpr auto subnetName = "handleIpv4Subnet";
};

struct Ipv6 {
  static std::string subnet(int n) { return Ipv4::otherFamily(n); }
  static std::string withHostBits(int n) { return "2001:db8:" + std::to_string(n) + "::1/48"; }
  static std::string otherFamily(int n) { return Ipv4::subnet(n); }
  static void choose(Firewall::Segment& segment, const Firewall::ListSource& source) {
    segment.prefixIpv6MlIs(source);
  }
  static void chooseOther(Firewall::Segment& segment, const Firewall::ListSource& source) {
    segment.prefixIpv4MlIs(source);
  }
  static void handle(Firewall::MatchListConfigPathSm& sm) { sm.handleIpv6PrefixList(); }
  static void handle(Firewall::MatchListConfigPathSm& sm, const Pith::String& name) {
    sm.handleIpv6PrefixList(name);
  }
  static void clean(Firewall::MatchListConfigPathSm& sm) { sm.cleanIpv6PrefixList(); }
  static void matchListDel(MatchList::Config& lists, const Pith::String& name) {
    lists.matchIpv6PrefixListDel(name);
  }
  static auto matchListIs(MatchList::Config& lists, const Pith::String& name) {
    return lists.matchIpv6PrefixListIs(name);
  }
  static void prefixListDel(Acl::AclListConfig& lists, const Pith::String& name) {
    lists.ipv6PrefixListDel(name);
  }
  static auto prefixListIs(Acl::AclListConfig& lists, const Pith::String& name) {
    return lists.ipv6PrefixListIs(name);
  }
  static void entryDel(Acl::AclListConfig& lists, const Pith::String& name, std::uint32_t seqnum) {
    lists.ipv6PrefixList(name)->ipv6PrefixEntryDel(seqnum);
  }
  static constexpr auto family = Lanx::AddressFamily::ipv6;
  static constexpr auto handleName = "handleIpv6PrefixList";
  static constexpr auto cleanName = "cleanIpv6PrefixList";
  static constexpr int cleanLevel = 7;
  static constexpr auto prefixName = "handleIpv6Prefix";
  static constexpr auto subnetName = "handleIpv6Subnet";
};

}  // namespace TestSupport
