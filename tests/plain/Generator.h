// Random changes over small pools of names, so that things collide.
#pragma once

#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace Plain {

class Generator {
 public:
  // Makes a choice: any number below the limit.
  using Choose = std::function<unsigned(unsigned limit)>;

  explicit Generator(Choose choose) : choose_(std::move(choose)) {}
  explicit Generator(std::uint64_t seed)
      : Generator([random = std::mt19937_64(seed)](unsigned limit) mutable {
          return std::uniform_int_distribution<unsigned>(0, limit - 1)(random);
        }) {}

  // Enough to begin with: sources that are enabled, VRFs, interfaces, some of each kind.
  std::vector<std::string> beginning();
  // A change, and often what it needs to be there before it.
  std::vector<std::string> changes();

 private:
  using Names = std::vector<std::string>;

  unsigned below(unsigned limit) { return choose_(limit); }
  bool chance(unsigned percent) { return below(100) < percent; }
  const std::string& of(const Names& names) {
    return names[below(static_cast<unsigned>(names.size()))];
  }
  std::string sign() { return chance(70) ? "+ " : "- "; }

  std::string change();
  static std::vector<std::string> parentsOf(const std::string& line);
  std::string source();
  std::string config();
  std::string vrfName();
  std::string intfName();
  std::string vrf();
  std::string segmentDir();
  std::string inSegment();
  std::string listSource();
  std::string policy();
  std::string classMap();
  std::string lists();
  std::string prefixLists();
  std::string status();
  std::string capability();
  std::string application();
  std::string fieldSet();
  std::string className();
  std::string subnet(bool ipv6, bool withHostBits);

  Choose choose_;
};

}  // namespace Plain
