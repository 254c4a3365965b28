// Random histories of segments, lists and global prefixes: after every step the output is what a
// plain model makes of it, which walks everything, and the indexes agree with the walk.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "Firewall/Segments/VrfSm.h"
#include "tests/support/Switch.h"

namespace {

using Firewall::ListSource;
using Lanx::IpGenAddrWithMask;
using Lanx::IpGenPrefix;
using Subnets = std::vector<IpGenAddrWithMask>;

// Who holds what, by the rules alone.
class Model {
 public:
  explicit Model(bool isVrfWide) : isVrfWide_(isVrfWide) {}

  struct Segment {
    std::string list;  // empty: none
    Subnets local;     // in order of arrival
  };
  std::map<std::string, Segment> segments;
  std::vector<std::string> arrival;  // of the segments
  std::map<std::string, std::set<Lanx::IpAddrWithMask>> lists;
  std::vector<std::vector<std::pair<IpGenPrefix, std::string>>> globals{2};  // of two sources
  std::map<std::string, std::string> wide;                                   // by text

  void segmentIs(const std::string& name) {
    if (segments.contains(name)) return;
    segments[name];
    arrival.push_back(name);
    processGlobalsOf(name);
  }
  void segmentDel(const std::string& name) {
    if (!segments.contains(name)) return;
    const Subnets held = segments[name].local;
    segments.erase(name);
    std::erase(arrival, name);
    for (const auto& subnet : held) withdrawWide(name, subnet);
    processGlobalsOf(name);
  }
  void choose(const std::string& name, const std::string& list) {
    Segment& segment = segments[name];
    if (segment.list == list) return;
    segment.list = list;
    const auto wanted = list.empty() ? std::set<Lanx::IpAddrWithMask>() : lists[list];
    for (const auto& subnet : wanted) add(name, subnet);
    const Subnets held = segment.local;
    for (const auto& subnet : held) {
      if (!wanted.contains(subnet.ipv4())) remove(name, subnet);
    }
  }
  void listAdd(const std::string& list, const Lanx::IpAddrWithMask& subnet) {
    if (!lists[list].insert(subnet).second) return;
    for (const std::string& name : arrival) {
      if (segments[name].list == list) add(name, subnet);
    }
  }
  void listRemove(const std::string& list, const Lanx::IpAddrWithMask& subnet) {
    if (lists[list].erase(subnet) == 0) return;
    for (const std::string& name : arrival) {
      if (segments[name].list == list) remove(name, subnet);
    }
  }
  // The second source is disabled and has no reactor: nobody hears of its changes.
  void globalIs(std::size_t source, const IpGenPrefix& prefix, const std::string& name) {
    auto* const entry = find(source, prefix);
    if (entry != nullptr && entry->second == name) return;
    if (entry != nullptr) {
      entry->second = name;
    } else {
      globals[source].emplace_back(prefix, name);
    }
    if (source == 0) process(prefix, name);
  }
  void globalDel(std::size_t source, const IpGenPrefix& prefix) {
    if (find(source, prefix) == nullptr) return;
    std::erase_if(globals[source], [&](const auto& entry) { return entry.first == prefix; });
    if (source == 0) updateOrRemove(prefix);
  }
  std::string holder(const IpGenAddrWithMask& subnet, const std::string& except) const {
    for (const auto& [name, segment] : segments) {
      if (name != except && holds(segment, subnet)) return name;
    }
    return "";
  }

 private:
  static bool holds(const Segment& segment, const IpGenAddrWithMask& subnet) {
    return std::find(segment.local.begin(), segment.local.end(), subnet) != segment.local.end();
  }
  std::pair<IpGenPrefix, std::string>* find(std::size_t source, const IpGenPrefix& prefix) {
    for (auto& entry : globals[source]) {
      if (entry.first == prefix) return &entry;
    }
    return nullptr;
  }
  bool isGlobal(const IpGenPrefix& prefix) { return find(0, prefix) || find(1, prefix); }

  void add(const std::string& name, const IpGenAddrWithMask& subnet) {
    const IpGenPrefix prefix(subnet);
    if (isVrfWide_ && !isGlobal(prefix)) wide.emplace(prefix.toString(), name);
    Segment& segment = segments[name];
    if (!holds(segment, subnet)) segment.local.push_back(subnet);
  }
  void remove(const std::string& name, const IpGenAddrWithMask& subnet) {
    withdrawWide(name, subnet);
    std::erase(segments[name].local, subnet);
  }
  void withdrawWide(const std::string& name, const IpGenAddrWithMask& subnet) {
    const IpGenPrefix prefix(subnet);
    if (!isVrfWide_ || isGlobal(prefix)) return;
    set(prefix, holder(prefix, name));
  }
  void processGlobalsOf(const std::string& name) {
    for (const auto& source : globals) {
      for (const auto& [prefix, named] : source) {
        if (named == name) process(prefix, name);
      }
    }
  }
  void process(const IpGenPrefix& prefix, const std::string& name) {
    if (segments.contains(name)) {
      set(prefix, name);
    } else {
      updateOrRemove(prefix);
    }
  }
  void updateOrRemove(const IpGenPrefix& prefix) { set(prefix, holder(prefix, "")); }
  void set(const IpGenPrefix& prefix, const std::string& name) {
    if (!isVrfWide_) return;
    wide.erase(prefix.toString());
    if (!name.empty()) wide.emplace(prefix.toString(), name);
  }

  bool isVrfWide_;
};

class GlobalPrefixHistoryTest : public TestSupport::SwitchTest {
 protected:
  static constexpr int listCount = 3;

  void run(unsigned seed, int segmentCount, bool isVrfWide) {
    std::mt19937 random(seed);
    const auto pick = [&random](int below) {
      return std::uniform_int_distribution<int>(0, below - 1)(random);
    };
    sw().hwCapability->globalPrefixListSupportedIs(isVrfWide);
    sw().ipStatus->vrfIs("red");
    const auto vrf = sw().source("cli")->vrfIs("red");
    const auto silent = sw().source("silent")->vrfIs("red");
    sw().source("cli")->enabledIs(true);
    const auto lists = sw().matchLists("lists");
    for (int n = 0; n < listCount; ++n) lists->matchIpv4PrefixListIs(listName(n));
    sw().start();
    Model model(isVrfWide);
    for (int step = 0; step < 200 && !HasFailure(); ++step) {
      const std::string segment(1, static_cast<char>('a' + pick(segmentCount)));
      const std::string list = listName(pick(listCount));
      const auto subnet =
          subnets_[static_cast<std::size_t>(pick(static_cast<int>(subnets_.size())))];
      const IpGenPrefix prefix{IpGenAddrWithMask(subnet)};
      const std::size_t source = pick(4) == 0 ? 1 : 0;
      const auto& inSource = source == 0 ? vrf : silent;
      switch (pick(12)) {
        case 0:
          vrf->segmentDel(segment);
          model.segmentDel(segment);
          break;
        case 1:
        case 2:
        case 3: {
          const bool isNone = pick(5) == 0;
          const auto input = vrf->segmentIs(segment);
          model.segmentIs(segment);
          input->prefixIpv4MlIs(isNone ? ListSource() : ListSource::matchList(list));
          model.choose(segment, isNone ? "" : list);
          break;
        }
        case 4:
        case 5:
        case 6:
          lists->matchIpv4PrefixList(list)->subnetsIs(subnet);
          model.listAdd(list, subnet);
          break;
        case 7:
        case 8:
          lists->matchIpv4PrefixList(list)->subnetsDel(subnet);
          model.listRemove(list, subnet);
          break;
        case 9:
        case 10:
          inSource->prefixIs(prefix, segment);
          model.globalIs(source, prefix, segment);
          break;
        default:
          inSource->prefixDel(prefix);
          model.globalDel(source, prefix);
      }
      compare(model);
    }
    EXPECT_FALSE(HasFailure()) << "seed " << seed << " segments " << segmentCount;
    sw().stop();
    sw().fwConfigDir->entityDelAll();
    sw().matchListConfigDir->entityDelAll();
    sw().hwConfig->vrfDelAll();
  }

  void compare(const Model& model) {
    const auto fwVrf = sw().hwConfig->vrf("red");
    std::map<std::string, std::string> wide;
    for (const auto& entry : fwVrf->prefixList()) {
      wide.emplace(entry.key.toString(), entry.value.view());
    }
    EXPECT_EQ(wide, model.wide);
    EXPECT_EQ(fwVrf->segment().size(), model.segments.size());
    for (const auto& [name, segment] : model.segments) {
      const auto output = fwVrf->segment(name);
      ASSERT_TRUE(output) << name;
      Subnets local;
      for (const auto& entry : output->subnets()) local.push_back(entry.key);
      EXPECT_EQ(local, segment.local) << name;
    }
    for (const auto& subnet : subnets_) {
      for (const auto& [name, segment] : model.segments) {
        const auto holder = fwVrf->segmentHolding(subnet, name);
        EXPECT_EQ(holder ? holder->name().view() : "", model.holder(subnet, name));
      }
    }
  }

  static std::string listName(int n) { return "list" + std::to_string(n); }

  const std::vector<Lanx::IpAddrWithMask> subnets_{
      Lanx::IpAddrWithMask::parse("10.0.0.0/8"), Lanx::IpAddrWithMask::parse("10.0.0.1/8"),
      Lanx::IpAddrWithMask::parse("10.0.0.0/9"), Lanx::IpAddrWithMask::parse("11.0.0.0/8"),
      Lanx::IpAddrWithMask::parse("0.0.0.0/0"),  Lanx::IpAddrWithMask::parse("12.0.0.1/32")};
};

TEST_F(GlobalPrefixHistoryTest, AgreesWithTheModelWhereTheHardwareTakesAVrfWideList) {
  for (int segments = 1; segments <= 6; ++segments) {
    for (unsigned seed = 1; seed <= 4 && !HasFailure(); ++seed) run(seed, segments, true);
  }
}

TEST_F(GlobalPrefixHistoryTest, AgreesWithTheModelWhereItDoesNot) {
  for (int segments = 1; segments <= 6; ++segments) {
    for (unsigned seed = 1; seed <= 2 && !HasFailure(); ++seed) run(seed, segments, false);
  }
}

}  // namespace
