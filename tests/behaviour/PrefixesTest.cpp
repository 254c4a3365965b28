#include "tests/behaviour/Behaviour.h"

namespace {

using BehaviourTest::Behaviour;
using Plain::Lines;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

// Match list x of path main has 10/8, y has 10.1/16; segment a of cli takes x.
class Prefixes : public Behaviour {
 protected:
  void SetUp() override {
    Behaviour::SetUp();
    list("main", "x", "10.0.0.0%2F8");
    list("main", "y", "10.1.0.0%2F16");
    choose("cli", "a", "matchList:x");
  }
  void list(const std::string& path, const std::string& name, const std::string& subnet) {
    const std::string above = "+ lists/" + path + "/matchIpv4PrefixList/" + name;
    given({"+ lists/" + path, above, above + "/subnets/" + subnet});
  }
  void choose(const std::string& source, const std::string& segment, const std::string& what) {
    given({"+ source/" + source + "/vrf/red/segment/" + segment,
           "+ source/" + source + "/vrf/red/segment/" + segment + "/prefixIpv4Ml = " + what});
  }
  // As they are in a path.
  Lines subnets(const std::string& segment) {
    const std::string path = "vrf/red/segment/" + segment + "/subnets/";
    Lines found;
    for (const std::string& line : below(path)) {
      found.push_back(line.substr(path.size(), line.find(" = ") - path.size()));
    }
    return found;
  }
  std::string owner(const std::string& prefix) { return at("vrf/red/prefixList/" + prefix); }

  static constexpr const char* eight = "10.0.0.0%2F8";
  static constexpr const char* sixteen = "10.1.0.0%2F16";
};

// Of two sources that choose lists for one segment the last wins, and its subnets replace the
// other's. Choose in one source.
TEST_F(Prefixes, OfTwoSourcesThatChooseListsTheLastWins) {
  given({"+ source/gnmi/enabled = true"});
  choose("gnmi", "a", "matchList:y");
  EXPECT_THAT(subnets("a"), ElementsAre(sixteen));
}

// Choosing none keeps the subnets while any other source, even a disabled one, names a list of
// the family for the segment. Choose none there too.
TEST_F(Prefixes, ChoosingNoneKeepsWhatADisabledSourceNamesAListFor) {
  choose("gnmi", "a", "matchList:y");
  choose("cli", "a", "none");
  EXPECT_THAT(subnets("a"), ElementsAre(eight));
  choose("gnmi", "a", "none");
  choose("cli", "a", "matchList:x");
  choose("cli", "a", "none");
  EXPECT_THAT(subnets("a"), IsEmpty());
}

// Lists of one name in two paths replace one another's subnets, and choosing a list that only
// another path has can keep those of the list before. Use a name in one path.
TEST_F(Prefixes, ListsOfOneNameInTwoPathsReplaceOneAnother) {
  list("other", "x", "192.0.2.0%2F24");
  EXPECT_THAT(subnets("a"), ElementsAre("192.0.2.0%2F24"));
  choose("cli", "a", "none");
  choose("cli", "a", "matchList:x");
  EXPECT_THAT(subnets("a"), ElementsAre("192.0.2.0%2F24"));
  given({"- lists/other"});
  list("third", "z", sixteen);
  choose("cli", "b", "matchList:x");
  choose("cli", "b", "matchList:z");
  EXPECT_THAT(subnets("b"), UnorderedElementsAre(sixteen));
}

// Prefix lists need a match-list path, an empty one will do. Have one.
TEST_F(Prefixes, PrefixListsNeedAMatchListPath) {
  given({"- lists", "+ acl/prefixList/l",
         "+ acl/prefixList/l/prefixEntry/10 = prefix=10.1.0.0/16,action=permit"});
  choose("cli", "b", "prefixList:l");
  EXPECT_THAT(subnets("b"), IsEmpty());
  given({"+ lists/empty"});
  EXPECT_THAT(subnets("b"), ElementsAre(sixteen));
}

// Removing a match-list path leaves its subnets. Remove its lists first.
TEST_F(Prefixes, PathThatGoesLeavesItsSubnets) {
  given({"- lists/main"});
  EXPECT_THAT(subnets("a"), ElementsAre(eight));
  given({"+ lists/main", "- lists/main/matchIpv4PrefixList/x", "- lists/main"});
  EXPECT_THAT(subnets("a"), IsEmpty());
}

// A prefix that two entries of a prefix list permit goes with the first entry that is removed.
// Permit it once.
TEST_F(Prefixes, PrefixOfTwoEntriesGoesWithTheFirst) {
  given({"+ acl/prefixList/l",
         "+ acl/prefixList/l/prefixEntry/10 = prefix=10.1.0.0/16,action=permit",
         "+ acl/prefixList/l/prefixEntry/20 = prefix=10.1.0.0/16,action=permit"});
  choose("cli", "b", "prefixList:l");
  EXPECT_THAT(subnets("b"), ElementsAre(sixteen));
  given({"- acl/prefixList/l/prefixEntry/20"});
  EXPECT_THAT(subnets("b"), IsEmpty());
}

// A subnet with host bits claims its prefix in the VRF-wide list but never inherits it. Write
// lists without host bits.
TEST_F(Prefixes, SubnetWithHostBitsClaimsItsPrefixAndNeverInheritsIt) {
  list("main", "h", "10.1.2.3%2F16");
  choose("cli", "c", "matchList:h");
  EXPECT_EQ(owner(sixteen), "c");
  choose("cli", "d", "matchList:y");
  choose("cli", "c", "none");
  EXPECT_EQ(owner(sixteen), "d");
  choose("cli", "c", "matchList:h");
  choose("cli", "d", "none");
  EXPECT_EQ(owner(sixteen), "-");
}

// A global prefix of a segment that is not configured leaves the prefix to a list that held it
// before, whatever becomes of that list, and keeps lists that come later off the VRF-wide list.
// Configure the segment.
TEST_F(Prefixes, GlobalPrefixOfAnUnconfiguredSegmentKeepsListsOff) {
  given({"+ source/gnmi/vrf/red/prefix/10.0.0.0%2F8 = nowhere",
         "+ source/gnmi/vrf/red/prefix/10.1.0.0%2F16 = nowhere"});
  EXPECT_EQ(owner(eight), "a") << "from before";
  choose("cli", "b", "matchList:y");
  EXPECT_EQ(owner(sixteen), "-");
  choose("cli", "a", "none");
  EXPECT_EQ(owner(eight), "a") << "not withdrawn";
}

// The global prefixes of a disabled source still keep match lists off the VRF-wide list, and enter
// it when a segment that they name comes. Remove them before disabling it.
TEST_F(Prefixes, GlobalPrefixOfADisabledSourceKeepsListsOff) {
  given({"+ source/gnmi/vrf/red/prefix/10.1.0.0%2F16 = a"});
  choose("cli", "b", "matchList:y");
  EXPECT_THAT(subnets("b"), ElementsAre(sixteen));
  EXPECT_EQ(owner(sixteen), "-");
  given({"+ source/gnmi/vrf/red/prefix/192.0.2.0%2F24 = c"});
  EXPECT_EQ(owner("192.0.2.0%2F24"), "-");
  given({"+ source/cli/vrf/red/segment/c"});
  EXPECT_EQ(owner("192.0.2.0%2F24"), "c");
}

// Of several segments whose lists hold a prefix, the one that held it first owns it VRF-wide,
// until any of them gives it up: then the first of the others in the VRF does. Give such a prefix
// to its segment as a global prefix.
TEST_F(Prefixes, SegmentThatHeldAPrefixFirstOwnsIt) {
  given({"+ source/cli/vrf/red/segment/b", "+ source/cli/vrf/red/segment/c"});
  for (const char* const segment : {"a", "b"}) choose("cli", segment, "none");
  for (const char* const segment : {"c", "b", "a"}) choose("cli", segment, "matchList:x");
  EXPECT_EQ(owner(eight), "c");
  choose("cli", "b", "none");
  EXPECT_EQ(owner(eight), "a");
  given({"+ source/cli/vrf/red/prefix/10.0.0.0%2F8 = c"});
  EXPECT_EQ(owner(eight), "c");
}

// A global prefix that a source gives up is that of the first other enabled source that has it:
// when that names a segment that is not configured, the prefix goes to the lists, whatever further
// sources name. Give it in one source.
TEST_F(Prefixes, GlobalPrefixThatIsGivenUpIsThatOfTheFirstOtherSource) {
  const std::string prefix = "/vrf/red/prefix/10.0.0.0%2F8";
  given({"+ source/gnmi/enabled = true", "+ source/api", "+ source/api/vrf/red",
         "+ source/api/vrf/red/segment/b", "+ source/api/enabled = true",
         "+ source/gnmi" + prefix + " = nowhere", "+ source/api" + prefix + " = b",
         "+ source/cli" + prefix + " = b"});
  EXPECT_EQ(owner(eight), "b");
  given({"- source/cli" + prefix});
  EXPECT_EQ(owner(eight), "a") << "whose list holds it";
}

// A global prefix in two sources goes to the segment that was named last, after a restart to
// that of the source that joined the directory first. Give it in one source.
TEST_F(Prefixes, GlobalPrefixOfTwoSourcesGoesToTheLastAndAfterARestartToTheFirst) {
  given({"+ source/api", "+ source/api/vrf/red", "+ source/cli/vrf/red/segment/b",
         "+ source/api/enabled = true", "+ source/cli/vrf/red/prefix/192.0.2.0%2F24 = a",
         "+ source/api/vrf/red/prefix/192.0.2.0%2F24 = b"});
  EXPECT_EQ(owner("192.0.2.0%2F24"), "b");
  given({"stop", "start"});
  EXPECT_EQ(owner("192.0.2.0%2F24"), "a");
}

}  // namespace
