#include "tests/plain/Life.h"

#include <exception>
#include <sstream>

#include "framework/Pith/RangeException.h"
#include "tests/plain/RealSwitch.h"
#include "tests/support/LiveCounts.h"

namespace Plain {
namespace {

std::string listed(const char* whose, const Lines& lines) {
  std::string text = std::string("\n") + whose + ":\n";
  for (const std::string& line : lines) text += "    " + line + "\n";
  return text;
}

// The lines that only one of them has.
std::string onlyIn(const Lines& real, const Lines& model) {
  Lines realOnly;
  Lines modelOnly;
  std::ranges::set_difference(real, model, std::back_inserter(realOnly));
  std::ranges::set_difference(model, real, std::back_inserter(modelOnly));
  return listed("only the library has", realOnly) + listed("only the model has", modelOnly);
}

std::string differenceWithin(const History& history) {
  Life life;
  for (const std::string& line : history) {
    std::string complaint;
    try {
      complaint = life.after(line);
    } catch (const std::exception& error) {
      complaint = std::string("exception: ") + error.what();
    }
    if (!complaint.empty()) return "after " + line + "\n" + complaint;
  }
  const std::string complaint = life.end();
  return complaint.empty() ? "" : "at the end\n" + complaint;
}

}  // namespace

std::string Life::after(const std::string& line) {
  const Change change(line);
  writes_.clear();
  refusal_.clear();
  bool refusedByModel = false;
  try {
    if (!inputs_.apply(change)) return "";
  } catch (const Refused&) {
    refusedByModel = true;
  }
  try {
    real_.apply(change);
  } catch (const Pith::RangeException& error) {
    refusal_ = error.what();
  }
  if (refusal_.empty() == refusedByModel)
    return refusedByModel ? "only the model refuses it" : "refused: " + refusal_;
  return check();
}

std::string Life::end() {
  for (const char* const all :
       {"source", "lists", "ip/vrf", "ip/ipIntfStatus", "intf/intfStatus", "acl/prefixList",
        "acl/ipv6PrefixList", "apps/app", "sets/fieldSetL4Port", "sets/fieldSetIpPrefix"}) {
    if (std::string complaint = after(std::string("- ") + all); !complaint.empty()) {
      return "without " + std::string(all) + ": " + complaint;
    }
  }
  model_.stop();
  real_.stop();
  if (std::string complaint = check(); !complaint.empty()) return complaint;
  return real_.isEmpty() ? "" : "something is left in the output" + listed("tree", real_.dump());
}

std::string Life::check() {
  writes_ = real_.takeWrites();
  const Lines wanted = std::exchange(model_.log, {});
  const Lines tree = real_.dump();
  const Lines wantedTree = model_.hw->dump();
  if (tree != wantedTree)
    return "the trees differ" + onlyIn(tree, wantedTree) + listed("writes", writes_) +
           listed("model's writes", wanted);
  if (writes_ != wanted)
    return "the writes differ" + listed("writes", writes_) + listed("model's writes", wanted);
  return real_.complaint();
}

std::string differenceIn(const History& history) {
  const auto before = TestSupport::liveCounts();
  std::string difference = differenceWithin(history);
  if (difference.empty() && TestSupport::liveCounts() != before) difference = "objects are left";
  return difference;
}

History shrunk(History history, const std::function<bool(const History&)>& differs) {
  for (std::size_t length = (history.size() + 1) / 2; length > 0;) {
    bool shorter = false;
    for (std::size_t at = 0; at + length <= history.size();) {
      History rest = history;
      const auto from = rest.begin() + static_cast<std::ptrdiff_t>(at);
      rest.erase(from, from + static_cast<std::ptrdiff_t>(length));
      if (differs(rest)) {
        history = rest;
        shorter = true;
      } else {
        at += length;
      }
    }
    if (length > 1 || !shorter) length /= 2;
  }
  return history;
}

std::string asTest(const History& history) {
  std::ostringstream out;
  out << "  EXPECT_EQ(differenceIn({\n";
  for (const std::string& line : history) out << "      \"" << line << "\",\n";
  out << "  }), \"\");\n";
  return out.str();
}

}  // namespace Plain
