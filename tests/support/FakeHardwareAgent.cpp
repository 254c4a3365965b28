#include "tests/support/FakeHardwareAgent.h"

#include <gtest/gtest.h>

#include "framework/Kiv/Inspector.h"

namespace TestSupport {
namespace {

using Kind = Kiv::TreeChange::Kind;
using Tables = std::map<std::string, std::string>;

// Values are always there, other entries only when they were added.
bool isEntry(const Kiv::AttributeData& attribute) {
  return attribute.kind != Kiv::AttributeKind::value &&
         attribute.kind != Kiv::AttributeKind::reference;
}

// A child has no text of its own, and that of a reference changes when what it refers to is
// removed.
bool hasComparableText(const Kiv::TreeChange& change) {
  return change.attribute.child == nullptr && change.attribute.value != nullptr &&
         change.value.find('@') == std::string::npos;
}

// What a reference says changes when that leaves its owner, untold.
Tables withoutReferences(Tables tables) {
  for (auto& [path, text] : tables) {
    if (text.find('@') != std::string::npos) text = "@";
  }
  return tables;
}

Tables tablesOf(Kiv::Object& root) {
  Tables tables;
  Kiv::Inspector(root).each(
      [&tables](std::string_view path, std::string_view text) { tables.emplace(path, text); });
  return tables;
}

}  // namespace

FakeHardwareAgent::FakeHardwareAgent(const Firewall::HwConfig::Ptr& hwConfig)
    : Kiv::TreeWatcher(hwConfig), hwConfig_(hwConfig), tables_(tablesOf(*hwConfig)) {}

void FakeHardwareAgent::onChange(const Kiv::TreeChange& change) {
  const auto known = tables_.find(change.path);
  const bool isKnown = known != tables_.end();
  if (change.kind == Kind::added) {
    EXPECT_FALSE(isKnown) << "added twice: " << change.path;
    tables_[change.path] = change.value;
    if (change.attribute.child != nullptr) {
      const auto* const child = static_cast<const Kiv::Entity*>(change.change.current);
      for (const auto& [path, value] : tablesOf(const_cast<Kiv::Entity&>(*child))) {
        tables_[change.path + "/" + path] = value;
      }
    }
  } else {
    EXPECT_TRUE(isKnown) << "not known: " << change.path;
    if (isKnown && hasComparableText(change) && change.change.previous != nullptr) {
      EXPECT_EQ(change.attribute.value->text(change.change.previous), known->second)
          << "another previous value than told before: " << change.path;
    }
    if (change.kind == Kind::changed) {
      EXPECT_NE(tables_[change.path], change.value) << "told without a change: " << change.path;
      tables_[change.path] = change.value;
    } else {
      EXPECT_TRUE(isEntry(change.attribute));
      tables_.erase(change.path);
      if (change.attribute.child != nullptr) {
        const std::string below = change.path + "/";
        const auto first = tables_.lower_bound(below);
        auto last = first;
        while (last != tables_.end() && last->first.starts_with(below)) ++last;
        tables_.erase(first, last);
      }
    }
  }
  onRule(change);
  onLink(change);
  if (change.path == "updateInProgress" && !hwConfig_->updateInProgress()) checkLinks();
}

void FakeHardwareAgent::onRule(const Kiv::TreeChange& change) const {
  const auto* const policy = dynamic_cast<const Firewall::FwPolicy*>(&change.object);
  if (policy == nullptr || change.attribute.field != Firewall::FwPolicy::ruleField) return;
  if (change.kind == Kind::removed) return;
  const auto id = *static_cast<const std::uint32_t*>(change.key);
  const auto& rule = *static_cast<const Firewall::FwRule*>(change.change.current);
  EXPECT_EQ(id >> 22U, rule.seqnum) << change.path;
  EXPECT_NE(id & 0x3FFFFFU, 0U) << change.path;
}

bool FakeHardwareAgent::isInTables(const Firewall::FwPolicy& policy) const {
  return hwConfig_->policy(policy.name()).get() == &policy;
}

void FakeHardwareAgent::onLink(const Kiv::TreeChange& change) const {
  const auto* const segment = dynamic_cast<const Firewall::FwSegment*>(&change.object);
  if (segment == nullptr || change.kind == Kind::removed) return;
  if (change.attribute.field == Firewall::FwSegment::fromSegmentField) {
    const auto& link = *static_cast<const Firewall::FwFromSegment*>(change.change.current);
    ASSERT_TRUE(link.segment) << change.path;
    ASSERT_TRUE(link.policy) << change.path;
    EXPECT_TRUE(isInTables(*link.policy)) << change.path;
    const auto* const directory = dynamic_cast<const Firewall::FwSegmentDir*>(segment->parent());
    ASSERT_NE(directory, nullptr) << change.path;
    EXPECT_EQ(directory->segment(link.segment->name()), link.segment) << change.path;
  } else if (change.attribute.field == Firewall::FwSegment::fallbackPolicyField) {
    const auto& policy = *static_cast<const Pith::Ptr<Firewall::FwPolicy>*>(change.change.current);
    EXPECT_TRUE(!policy || isInTables(*policy)) << change.path;
  }
}

void FakeHardwareAgent::checkSegmentLinks(const Firewall::FwSegmentDir& directory) const {
  for (const auto& segment : directory.segment()) {
    for (const auto& link : segment->fromSegment()) {
      EXPECT_EQ(directory.segment(link.key), link.value.segment)
          << segment->name() << " keeps a link to " << link.key;
    }
    if (const auto& policy = segment->fallbackPolicy()) {
      EXPECT_TRUE(isInTables(*policy)) << segment->name() << " keeps the policy " << policy->name();
    }
  }
}

void FakeHardwareAgent::checkLinks() const {
  for (const auto& vrf : hwConfig_->vrf()) checkSegmentLinks(*vrf);
  if (const auto l2Seg = hwConfig_->l2Seg()) checkSegmentLinks(*l2Seg);
}

void FakeHardwareAgent::checkAtRest() const {
  EXPECT_FALSE(hwConfig_->updateInProgress());
  EXPECT_EQ(withoutReferences(tables_), withoutReferences(tablesOf(*hwConfig_)));
  checkLinks();
}

}  // namespace TestSupport
