#include "agent/Schema/Expansion.h"

#include <algorithm>
#include <limits>
#include <vector>

#include "agent/Document/Count.h"
#include "framework/Lanx/RangeMaskGen.h"
#include "model/Classification/AppRecognition.h"
#include "model/Firewall/Protocol.h"

namespace Agent {
namespace {

const Node* below(const Node* node, std::string_view name) {
  return node == nullptr ? nullptr : node->find(name);
}

// The values of the field set that the application names, or null.
const Node* fieldSet(const Node& root, const Node* application, std::string_view field,
                     std::string_view part, std::string_view values) {
  const Node* const name = below(application, field);
  if (name == nullptr) return nullptr;
  return below(below(below(root.find(part), name->text), "subConfig"), values);
}

// The largest number there is where the product is larger.
std::uint64_t product(std::uint64_t a, std::uint64_t b) {
  std::uint64_t result = 0;
  return __builtin_mul_overflow(a, b, &result) ? std::numeric_limits<std::uint64_t>::max() : result;
}

std::uint64_t ranges(const Node* set, bool asBlocks) {
  if (set == nullptr || set->members.empty()) return 1;
  if (!asBlocks) return set->members.size();
  std::uint64_t blocks = 0;
  for (const Member& member : set->members) {
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
  const Node* const app = below(root.find("app"), application);
  const auto prefixes = [&](std::string_view field) -> std::uint64_t {
    const Node* const set = fieldSet(root, app, field, "fieldSetIpPrefix", "prefixes");
    return set == nullptr ? 0 : set->members.size();
  };
  result.sources_ = prefixes("srcPrefixFieldSet");
  result.destinations_ = prefixes("dstPrefixFieldSet");
  const Node* const protocols = below(app, "proto");
  if (protocols == nullptr || protocols->members.empty()) return result;
  result.protocols_ = true;
  const Node* const capability = below(root.find("switch"), "hwCapability");
  const Node* const blocks = below(capability, "portRangeBlocksRequired");
  const bool asBlocks = blocks != nullptr && blocks->text == "true";
  const std::uint64_t ports =
      ranges(fieldSet(root, app, "dstPortFieldSet", "fieldSetL4Port", "ports"), asBlocks) *
      ranges(fieldSet(root, app, "srcPortFieldSet", "fieldSetL4Port", "ports"), asBlocks);
  const Node* const family = below(app, "af");
  const unsigned first = family != nullptr && family->text == "ipv4" ? 1 : 0;
  result.headers_ = 0;
  for (const Member& member : protocols->members) {
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
