// Routing tables and published address lists: what is written there is read, and written the same.
//
// The data lies outside of the tree: in FIREWALL_TEST_DATA, or in shared/data of a folder above
// this one. Where it is absent the tests pass and say so.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#include "framework/Lanx/IpAddrWithMask.h"
#include "framework/Lanx/Prefix.h"

#ifndef FIREWALL_SOURCE_DIR
#define FIREWALL_SOURCE_DIR "."
#endif

namespace {

namespace fs = std::filesystem;

fs::path dataFolder() {
  if (const char* given = std::getenv("FIREWALL_TEST_DATA"); given != nullptr) return given;
  fs::path folder = fs::absolute(FIREWALL_SOURCE_DIR).lexically_normal();
  for (; folder != folder.root_path(); folder = folder.parent_path()) {
    if (fs::is_directory(folder / "shared" / "data")) return folder / "shared" / "data";
  }
  return {};
}

std::vector<fs::path> textFiles(const char* name) {
  std::vector<fs::path> files;
  const fs::path folder = dataFolder() / name;
  if (fs::is_directory(folder)) {
    for (const auto& entry : fs::directory_iterator(folder)) {
      if (entry.path().extension() == ".txt") files.push_back(entry.path());
    }
  }
  if (files.empty()) std::cout << "passed without data: no " << name << " found\n";
  std::sort(files.begin(), files.end());
  return files;
}

// Through the type of the family, as configuration is, and through the generic one.
template <class PrefixType, class WithMask>
bool isReadAndWrittenTheSame(const std::string& text) {
  const auto prefix = PrefixType::parse(text);
  const auto subnet = WithMask::parse(text);
  const auto generic = Lanx::IpGenPrefix::parse(text);
  return prefix.toString() == text && subnet.toString() == text && generic.toString() == text &&
         Lanx::IpGenPrefix(prefix) == generic && subnet.validAsPrefix() &&
         Lanx::IpGenPrefix(Lanx::IpGenAddrWithMask(subnet)) == generic;
}

void expectEveryLineIsReadAndWrittenTheSame(const char* folder) {
  for (const fs::path& file : textFiles(folder)) {
    std::ifstream lines(file);
    std::size_t count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
      const bool six = line.find(':') != std::string::npos;
      ASSERT_TRUE(six ? (isReadAndWrittenTheSame<Lanx::Ip6Prefix, Lanx::Ip6AddrWithMask>(line))
                      : (isReadAndWrittenTheSame<Lanx::Prefix, Lanx::IpAddrWithMask>(line)))
          << line << " of " << file.filename();
    }
    EXPECT_GT(count, 0U) << file.filename();
  }
}

TEST(RealDataTest, routingTablesAreReadAndWrittenTheSame) {
  expectEveryLineIsReadAndWrittenTheSame("prefixes");
}

TEST(RealDataTest, publishedAddressListsAreReadAndWrittenTheSame) {
  expectEveryLineIsReadAndWrittenTheSame("matchlists");
}

// A full table in 64-bit hashes: two equal ones among a million would be a defect of the mix.
TEST(RealDataTest, prefixesOfTheRoutingTablesHashApart) {
  std::vector<std::uint64_t> hashes;
  for (const fs::path& file : textFiles("prefixes")) {
    std::ifstream lines(file);
    for (std::string line; std::getline(lines, line);) {
      hashes.push_back(Lanx::IpGenPrefix::parse(line).hash());
    }
  }
  std::sort(hashes.begin(), hashes.end());
  EXPECT_EQ(std::adjacent_find(hashes.begin(), hashes.end()), hashes.end());
}

}  // namespace
