#include "agent/Schema/Expansion.h"

#include <algorithm>
#include <limits>
#include <vector>

#include "agent/Document/Count.h"
#include "agent/Document/Lookup.h"
#include "framework/Lanx/RangeMaskGen.h"
#include "model/Classification/AppRecognition.h"
#include "model/Firewall/Protocol.h"

namespace Agent {
namespace {

// The values of the field set that the application names.
const std::vector<Member>& fieldSet(const Node& root, const Node& application,
                                    std::string_view field, std::string_view part,
                                    std::string_view values) {
  const Node& set = below(below(root, part), textBelow(application, field));
  return below(below(set, "subConfig"), values).members;
}

// The largest number there is where the product is larger.
std::uint64_t product(std::uint64_t a, std::uint64_t b) {
  std::uint64_t result = 0;
  return __builtin_mul_overflow(a, b, &result) ? std::numeric_limits<std::uint64_t>::max() : result;
}

std::uint64_t ranges(const std::vector<Member>& set, bool asBlocks) {
  if (set.empty()) return 1;
  if (!asBlocks) return set.size();
  std::uint64_t blocks = 0;
  for (const Member& member : set) {
    const auto range = Classification::PortRange::parse(member.key.text);
    std::vector<Lanx::RangeMaskGen<std::uint16_t>::Entry> entries;
    Lanx::RangeMaskGen<std::uint16_t>::run(range.start, range.end, entries);
    blocks += entries.size();
  }
  return blocks;
}

}  // namespace

Expansion Expansion::of(const Node& root, std::string_view application) {
  Expansion result;
  const Node& app = below(below(root, "app"), application);
  const auto prefixes = [&](std::string_view field) -> std::uint64_t {
    return fieldSet(root, app, field, "fieldSetIpPrefix", "prefixes").size();
  };
  result.sources_ = prefixes("srcPrefixFieldSet");
  result.destinations_ = prefixes("dstPrefixFieldSet");
  const auto& protocols = below(app, "proto").members;
  if (protocols.empty()) return result;
  result.protocols_ = true;
  const Node& capability = below(below(root, "switch"), "hwCapability");
  const bool asBlocks = textBelow(capability, "portRangeBlocksRequired") == "true";
  const std::uint64_t ports =
      ranges(fieldSet(root, app, "dstPortFieldSet", "fieldSetL4Port", "ports"), asBlocks) *
      ranges(fieldSet(root, app, "srcPortFieldSet", "fieldSetL4Port", "ports"), asBlocks);
  const unsigned first = textBelow(app, "af") == "ipv4" ? 1 : 0;
  result.headers_ = 0;
  for (const Member& member : protocols) {
    const auto range = Classification::ProtocolRange::parse(member.key.text);
    if (range.end == 255 && range.start <= first) {  // all protocols: one rule
      ++result.headers_;
      continue;
    }
    for (unsigned protocol = range.start; protocol <= range.end; ++protocol) {
      const bool hasPorts = Firewall::Protocol(static_cast<std::uint8_t>(protocol)).hasPorts();
      result.headers_ += hasPorts ? ports : 1;
    }
  }
  return result;
}

std::uint64_t Expansion::rules() const noexcept {
  if (matchesNothing()) return 0;
  return product(
      product(std::max<std::uint64_t>(sources_, 1), std::max<std::uint64_t>(destinations_, 1)),
      headers_);
}

std::string Expansion::arithmetic() const {
  return counted(std::max<std::uint64_t>(sources_, 1), "source") + " x " +
         counted(std::max<std::uint64_t>(destinations_, 1), "destination") + " x " +
         grouped(headers_) + " of protocols and ports";
}

}  // namespace Agent
