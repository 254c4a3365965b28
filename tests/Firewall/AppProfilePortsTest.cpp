// Ports of application profiles: as ranges or as aligned blocks, and what stays when a set changes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>

#include "tests/Firewall/AppProfileSupport.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class AppProfilePortsTest : public TestSupport::AppProfileFixture {
 protected:
  void SetUp() override {
    AppProfileFixture::SetUp();
    app("web")->protoIs({6, 6});
    app("web")->dstPortFieldSetIs("dst");
    app("web")->srcPortFieldSetIs("src");
  }
  std::vector<std::string> dstPorts() { return portsOf(service("web")->dstPort()); }
  std::vector<std::string> srcPorts() { return portsOf(service("web")->srcPort()); }
  void blocks(bool on) { lone.capability->portRangeBlocksRequiredIs(on); }
};

TEST_F(AppProfilePortsTest, RangeIsSplitIntoAlignedBlocksWhereTheHardwareNeedsThem) {
  blocks(true);
  ports("dst", {{1000, 1999}});
  ports("src", {{1000, 1999}});
  compile("web");
  const auto split = ElementsAre("1000-1007", "1008-1023", "1024-1535", "1536-1791", "1792-1919",
                                 "1920-1983", "1984-1999");
  EXPECT_THAT(dstPorts(), split);
  EXPECT_THAT(srcPorts(), split);
}

TEST_F(AppProfilePortsTest, RangeStaysWholeOtherwise) {
  ports("dst", {{1000, 1999}});
  ports("src", {{1000, 1999}});
  compile("web");
  EXPECT_THAT(dstPorts(), ElementsAre("1000-1999"));
  EXPECT_THAT(srcPorts(), ElementsAre("1000-1999"));
}

TEST_F(AppProfilePortsTest, AllPortsAreOneBlock) {
  blocks(true);
  ports("dst", {{0, 65535}});
  compile("web");
  EXPECT_THAT(dstPorts(), ElementsAre("0-65535"));
}

TEST_F(AppProfilePortsTest, EachBlockIsTracedOnce) {
  blocks(true);
  ports("dst", {{80, 80}, {440, 443}});
  const TestSupport::TraceCapture traces;
  compile("web");
  const auto texts = traces.texts();
  for (const char* const block : {"low 80 high 80", "low 440 high 443"}) {
    const auto text = " Added dstPort sub range: " + std::string(block);
    EXPECT_EQ(std::ranges::count(texts, text), 1) << block;
  }
}

TEST_F(AppProfilePortsTest, DroppedRangeGoesAndTheOthersStay) {
  ports("dst", {{80, 80}, {443, 443}, {8000, 8999}});
  compile("web");
  ports("dst", {{80, 80}, {8000, 8999}});
  recorder.take();
  compile("web");
  EXPECT_THAT(recorder.takeBelow("services/web/dstPort"),
              ElementsAre("- services/web/dstPort/443"));
}

TEST_F(AppProfilePortsTest, BlocksWithinARangeThatStaysStay) {
  blocks(true);
  ports("dst", {{80, 80}, {1000, 1999}});
  compile("web");
  ports("dst", {{1000, 1999}});
  recorder.take();
  compile("web");
  EXPECT_THAT(recorder.takeBelow("services/web/dstPort"), ElementsAre("- services/web/dstPort/80"));
}

TEST_F(AppProfilePortsTest, EachSideIsHeldAgainstItsOwnSet) {
  ports("dst", {{80, 80}});
  ports("src", {{443, 443}});
  compile("web");
  ports("dst", {{443, 443}});
  ports("src", {{80, 80}});
  compile("web");
  EXPECT_THAT(dstPorts(), ElementsAre("443"));
  EXPECT_THAT(srcPorts(), ElementsAre("80"));
}

TEST_F(AppProfilePortsTest, RangeWithinAWiderOneOfTheNewSetStays) {
  ports("dst", {{100, 199}});
  compile("web");
  ports("dst", {{50, 250}});
  compile("web");
  EXPECT_THAT(dstPorts(), ElementsAre("50-250", "100-199"));
}

TEST_F(AppProfilePortsTest, RangeCoveredByTwoOfTheNewSetTogetherGoes) {
  ports("dst", {{100, 199}});
  compile("web");
  ports("dst", {{50, 150}, {151, 250}});
  compile("web");
  EXPECT_THAT(dstPorts(), ElementsAre("50-150", "151-250"));
}

TEST_F(AppProfilePortsTest, EmptySetRemovesEveryRange) {
  ports("dst", {{100, 199}, {300, 300}});
  compile("web");
  ports("dst", {});
  compile("web");
  EXPECT_THAT(dstPorts(), IsEmpty());
}

TEST_F(AppProfilePortsTest, RangeTheWrongWayRoundKeepsNothing) {
  ports("dst", {{100, 199}});
  compile("web");
  ports("dst", {{250, 50}});
  EXPECT_ANY_THROW(compile("web"));
  EXPECT_THAT(dstPorts(), IsEmpty());
}

// The blocks of a range by their definition: the largest aligned power of two that fits, again and
// again.
std::vector<std::pair<unsigned, unsigned>> blocksOf(unsigned start, unsigned end) {
  std::vector<std::pair<unsigned, unsigned>> blocks;
  while (start <= end) {
    unsigned size = 65536;
    while (start % size != 0 || start + size - 1 > end) size /= 2;
    blocks.emplace_back(start, start + size - 1);
    start += size;
  }
  return blocks;
}

// What a change of the set does, on a plain map.
void reconcile(std::map<unsigned, unsigned>& have,
               const std::vector<Classification::PortRange>* wanted, bool asBlocks) {
  if (wanted == nullptr) {
    have.clear();
    return;
  }
  std::erase_if(have, [&](const auto& entry) {
    for (const auto& range : *wanted) {
      if (range.start <= entry.first && range.end >= entry.second) return false;
    }
    return true;
  });
  for (const auto& range : *wanted) {
    if (asBlocks) {
      for (const auto& [low, high] : blocksOf(range.start, range.end)) have[low] = high;
    } else {
      have[range.start] = range.end;
    }
  }
}

TEST_F(AppProfilePortsTest, DoesWhatAPlainMapDoesForRandomSets) {
  std::mt19937 random(1);
  const auto below = [&](unsigned bound) {
    return std::uniform_int_distribution<unsigned>(0, bound - 1)(random);
  };
  std::map<unsigned, unsigned> expectedDst;
  std::map<unsigned, unsigned> expectedSrc;
  const auto randomSet = [&] {
    std::vector<Classification::PortRange> set;
    const unsigned space = below(4) == 0 ? 65536 : 48;
    for (unsigned n = below(6); n > 0; --n) {
      const unsigned start = below(space);
      const Classification::PortRange range{
          static_cast<std::uint16_t>(start),
          static_cast<std::uint16_t>(start + below(space - start))};
      if (std::find(set.begin(), set.end(), range) == set.end()) set.push_back(range);
    }
    return set;
  };
  const auto texts = [](const std::map<unsigned, unsigned>& ranges) {
    std::vector<std::string> result;
    for (const auto& [start, end] : ranges) {
      result.push_back(std::to_string(start) + (start == end ? "" : "-" + std::to_string(end)));
    }
    return result;
  };
  for (int round = 0; round < 600; ++round) {
    const bool asBlocks = below(2) == 0;
    blocks(asBlocks);
    const auto dst = randomSet();
    const auto src = randomSet();
    ports("dst", dst);
    ports("src", src);
    const bool hasDst = below(8) != 0;
    const bool hasSrc = below(8) != 0;
    app("web")->dstPortFieldSetIs(hasDst ? "dst" : below(2) == 0 ? "" : "missing");
    app("web")->srcPortFieldSetIs(hasSrc ? "src" : below(2) == 0 ? "" : "missing");
    compile("web");
    reconcile(expectedDst, hasDst ? &dst : nullptr, asBlocks);
    reconcile(expectedSrc, hasSrc ? &src : nullptr, asBlocks);
    ASSERT_EQ(dstPorts(), texts(expectedDst)) << "round " << round;
    ASSERT_EQ(srcPorts(), texts(expectedSrc)) << "round " << round;
    recorder.take();
  }
}

}  // namespace
