// What holds for every reactor: it ignores what a later version of an input tells beside what is
// known today, and counts its children for who asks by name.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "Firewall/Sources/RootFeatureEnableSm.h"
#include "Firewall/Sources/RootSm.h"
#include "tests/support/FullConfiguration.h"
#include "tests/support/TraceCapture.h"

namespace {

using ::testing::IsEmpty;

constexpr Pith::FieldId unknownField = 9999;

class AllReactorsTest : public TestSupport::SwitchTest {
 protected:
  void SetUp() override {
    SwitchTest::SetUp();
    TestSupport::shareConfiguration(sw());
    TestSupport::fullSource(sw(), "cli")->enabledIs(true);
    sw().start();
    rootSm_ = sw().rootSm("cli");
    sw().recorder.take();
  }
  void TearDown() override {
    rootSm_ = nullptr;
    SwitchTest::TearDown();
  }

  template <class Reactor>
  using Dispatch = void (Reactor::*)(Pith::Publisher*, Pith::Subscriber*, Pith::FieldId,
                                     const void*, const Pith::Change*);
  // With nothing to read for who took it for a field that he knows.
  template <class Reactor>
  void tell(Reactor& reactor, Dispatch<Reactor> dispatch) {
    told_.insert(&reactor.typeData());
    (reactor.*dispatch)(nullptr, nullptr, unknownField, nullptr, nullptr);
  }
  template <class Nested>
  void tellNested(const Nested& nested) {
    ASSERT_TRUE(nested);
    told_.insert(&nested->typeData());
    nested->tell(unknownField, nullptr, nullptr);
  }
  Firewall::RootSm& rootSm() { return *rootSm_; }
  const std::set<const Kiv::TypeData*>& told() const { return told_; }

 private:
  std::set<const Kiv::TypeData*> told_;
  Firewall::RootSm::Ptr rootSm_;
};

// The types of the reactors of the tree that watch something.
void collectWatching(const Kiv::TypeData& type, std::set<const Kiv::TypeData*>& types) {
  if (&type == &Firewall::ActiveWorkManager::staticTypeData()) return;  // is only asked
  if (!types.insert(&type).second) return;
  for (const Kiv::AttributeData& attribute : type.attributes) {
    if (attribute.childType != nullptr && (attribute.kind == Kiv::AttributeKind::child ||
                                           attribute.kind == Kiv::AttributeKind::children)) {
      collectWatching(attribute.childType(), types);
    }
  }
}

TEST_F(AllReactorsTest, IgnoreFieldsThatTheyDoNotKnow) {
  const auto feature = sw().root->rootFeatureSm("cli");
  const auto vrfSm = rootSm().vrfSm("red");
  const auto segmentSm = vrfSm->segmentSm("users");
  const auto pathSm = segmentSm->mlConfigPathSm("path");
  const TestSupport::TraceCapture traces;
  tell(*sw().root, &Firewall::RootDirSm::fwConfigDirDispatch);
  tell(*feature, &Firewall::RootFeatureEnableSm::inConfigDispatch);
  tell(rootSm(), &Firewall::RootSm::inConfigDispatch);
  tell(rootSm(), &Firewall::RootSm::ipStatusDispatch);
  tell(rootSm(), &Firewall::RootSm::outFirewallConfigDispatch);
  tell(rootSm(), &Firewall::RootSm::appRecStatusDispatch);
  tell(*vrfSm, &Firewall::VrfSm::vrfConfigDispatch);
  tell(*vrfSm, &Firewall::VrfSm::inFirewallDispatch);
  tell(*vrfSm, &Firewall::VrfSm::hwCapabilityDispatch);
  tell(*segmentSm, &Firewall::SegmentSM::inSegmentDispatch);
  tell(*segmentSm, &Firewall::SegmentSM::matchListConfigDirDispatch);
  tell(*pathSm, &Firewall::MatchListConfigPathSm::inSegmentDispatch);
  tell(*pathSm, &Firewall::MatchListConfigPathSm::matchListConfigDispatch);
  tell(*pathSm, &Firewall::MatchListConfigPathSm::aclListConfigDispatch);
  tellNested(rootSm().policy("web-only"));
  tellNested(rootSm().service("web"));
  const auto classMap = rootSm().classMap("__segment_voice");
  tellNested(classMap);
  tellNested(classMap->intfVlanData(Lanx::IntfId{std::string_view("Ethernet1")}));
  tellNested(pathSm->matchIpv4PrefixList("offices"));
  tellNested(pathSm->matchIpv6PrefixList("offices6"));
  tellNested(pathSm->aclIpv4PrefixList("servers"));
  tellNested(pathSm->aclIpv6PrefixList("servers6"));
  EXPECT_THAT(sw().recorder.take(), IsEmpty());
  EXPECT_THAT(traces.records(), IsEmpty());
  std::set<const Kiv::TypeData*> watching;
  collectWatching(Firewall::RootDirSm::staticTypeData(), watching);
  EXPECT_EQ(told(), watching) << "a reactor of the tree was not told, or is no reactor of it";
}

TEST_F(AllReactorsTest, CountTheirChildrenForWhoAsksByName) {
  const auto pathSm = rootSm().vrfSm("red")->segmentSm("users")->mlConfigPathSm("path");
  const auto countOf = [](const Kiv::Object& reactor, const char* children) {
    return reactor.typeData().attribute(children)->count(reactor);
  };
  EXPECT_EQ(countOf(*sw().root, "rootFeatureSm"), 1U);
  EXPECT_EQ(countOf(rootSm(), "policy"), 3U);
  for (const char* const lists :
       {"matchIpv4PrefixList", "matchIpv6PrefixList", "aclIpv4PrefixList", "aclIpv6PrefixList"}) {
    EXPECT_EQ(countOf(*pathSm, lists), 1U) << lists;
  }
}

}  // namespace
