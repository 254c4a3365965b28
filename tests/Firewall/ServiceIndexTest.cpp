// The configuration's index of the rules that name a service, against the walk over all rules.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

#include "framework/Kiv/Dir.h"
#include "model/Firewall/Config.h"

namespace {

using Firewall::Config;
using Firewall::Policy;
using Rules = std::vector<std::pair<std::string, std::uint32_t>>;

Rules byWalk(const Config& config, const Pith::String& service) {
  Rules rules;
  for (const auto& policy : config.policy()) {
    for (const auto& entry : policy->rule()) {
      if (entry.value.service == service) {
        rules.emplace_back(std::string(policy->name().view()), entry.key);
      }
    }
  }
  return rules;
}

Rules byIndex(const Config& config, const Pith::String& service) {
  Rules rules;
  for (auto rule = config.ruleOfService(service, {}); rule;
       rule = config.ruleOfService(service, rule->place)) {
    rules.emplace_back(std::string(rule->policy->name().view()), rule->place.seqnum);
  }
  return rules;
}

class ServiceIndexTest : public ::testing::Test {
 protected:
  static constexpr const char* services[] = {"", "dns", "ntp", "web"};

  void expectAgreement() {
    for (const char* service : services)
      ASSERT_EQ(byIndex(*config, service), byWalk(*config, service));
  }

  Config::Ptr config = Kiv::make<Config>("cli");
};

TEST_F(ServiceIndexTest, NoRuleNamesAnUnknownService) {
  EXPECT_FALSE(config->ruleOfService("dns", {}));
  config->policyIs("a")->ruleIs(1U, Pith::String("dns"));
  EXPECT_FALSE(config->ruleOfService("web", {}));
}

TEST_F(ServiceIndexTest, PoliciesComeInTheOrderInWhichTheyWereAdded) {
  for (const char* name : {"z", "a", "m"}) config->policyIs(name);
  for (const char* name : {"m", "a", "z"}) config->policyIs(name)->ruleIs(5U, Pith::String("dns"));
  EXPECT_EQ(byIndex(*config, "dns"), (Rules{{"z", 5}, {"a", 5}, {"m", 5}}));
  config->policyDel("z");
  config->policyIs("z")->ruleIs(4U, Pith::String("dns"));
  EXPECT_EQ(byIndex(*config, "dns"), (Rules{{"a", 5}, {"m", 5}, {"z", 4}}));
}

TEST_F(ServiceIndexTest, RuleThatChangesItsServiceMoves) {
  const auto policy = config->policyIs("a");
  policy->ruleIs(5U, Pith::String("dns"));
  policy->ruleIs(5U, Pith::String("web"));
  EXPECT_FALSE(config->ruleOfService("dns", {}));
  EXPECT_EQ(byIndex(*config, "web"), (Rules{{"a", 5}}));
}

TEST_F(ServiceIndexTest, PolicyOutsideAConfigurationIsInNone) {
  const auto lone = Kiv::make<Policy>("lone");
  lone->ruleIs(5U, Pith::String("dns"));
  lone->ruleDel(5);
  const auto dir = Kiv::make<Kiv::Dir>();
  const auto entry = dir->newEntity<Policy>("entry");
  entry->ruleIs(5U, Pith::String("dns"));
  EXPECT_EQ(entry->rule().size(), 1U);
}

TEST_F(ServiceIndexTest, PolicyThatOutlivesItsConfigurationIsInNone) {
  const auto policy = config->policyIs("a");
  policy->ruleIs(5U, Pith::String("dns"));
  config = nullptr;
  policy->ruleIs(6U, Pith::String("dns"));
  policy->ruleDel(5);
  EXPECT_EQ(policy->rule().size(), 1U);
}

TEST_F(ServiceIndexTest, PolicyThatLeftIsInNone) {
  const auto policy = config->policyIs("a");
  policy->ruleIs(5U, Pith::String("dns"));
  config->policyDel("a");
  policy->ruleIs(6U, Pith::String("dns"));
  EXPECT_FALSE(config->ruleOfService("dns", {}));
}

TEST_F(ServiceIndexTest, TheWalkGoesOnAfterAnyChange) {
  for (const char* name : {"a", "b", "c"}) config->policyIs(name)->ruleIs(5U, Pith::String("dns"));
  const auto first = config->ruleOfService("dns", {});
  config->policyDel("a");
  config->policyDel("b");
  config->policyIs("b")->ruleIs(5U, Pith::String("dns"));
  const auto second = config->ruleOfService("dns", first->place);
  EXPECT_EQ(second->policy, config->policy("c"));
  const auto third = config->ruleOfService("dns", second->place);
  EXPECT_EQ(third->policy, config->policy("b"));
  EXPECT_FALSE(config->ruleOfService("dns", third->place));
}

TEST_F(ServiceIndexTest, AgreesWithTheWalkAfterEveryStepOfRandomHistories) {
  for (unsigned seed = 0; seed < 20; ++seed) {
    config = Kiv::make<Config>("cli");
    std::mt19937 random(seed);
    const auto below = [&](unsigned bound) {
      return std::uniform_int_distribution<unsigned>(0, bound - 1)(random);
    };
    for (int step = 0; step < 600; ++step) {
      const Pith::String name(std::string(1, static_cast<char>('a' + below(5))));
      const Pith::String service(services[below(4)]);
      const std::uint32_t seqnum = below(8);
      const auto policy = config->policy(name);
      switch (policy ? below(16) : 0) {
        case 0:
          config->policyIs(name);
          break;
        case 1:
          config->policyDel(name);
          break;
        case 2:
          policy->ruleDelAll();
          break;
        case 3:
        case 4:
        case 5:
          policy->ruleDel(seqnum);
          break;
        case 6:
          if (below(10) == 0) config->policyDelAll();
          break;
        default:
          policy->ruleIs(seqnum, service, static_cast<Firewall::Action>(below(3)));
          break;
      }
      expectAgreement();
    }
  }
}

}  // namespace
