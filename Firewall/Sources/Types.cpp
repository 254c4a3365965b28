// The type tables of the reactors, and their factories: here, where every reactor is known to every
// other, so that a child need know of its owner no more than the name.
#include "Firewall/Sources/RootDirSm.h"

KIV_REACTOR_DEFINE(Firewall::RootDirSm)
KIV_NESTED_REACTOR_DEFINE(Firewall::RootFeatureEnableSm)  // its made() is its own
KIV_REACTOR_DEFINE(Firewall::ActiveWorkManager)
KIV_REACTOR_DEFINE(Firewall::RootSm)
KIV_NESTED_REACTOR_DEFINE(Firewall::RootSm::PolicySm)
KIV_NESTED_REACTOR_DEFINE(Firewall::RootSm::ServiceSm)
KIV_NESTED_REACTOR_DEFINE(Firewall::RootSm::ClassMapSm)
KIV_NESTED_REACTOR_DEFINE(Firewall::RootSm::ClassMapSm::NestedSm_IntfVlanData)
KIV_REACTOR_DEFINE(Firewall::VrfSm)
KIV_REACTOR_DEFINE(Firewall::SegmentSM)
KIV_REACTOR_DEFINE(Firewall::MatchListConfigPathSm)
KIV_NESTED_REACTOR_DEFINE(Firewall::MatchListConfigPathSm::NestedSm_MatchIpv4PrefixList)
KIV_NESTED_REACTOR_DEFINE(Firewall::MatchListConfigPathSm::NestedSm_MatchIpv6PrefixList)
KIV_NESTED_REACTOR_DEFINE(Firewall::MatchListConfigPathSm::NestedSm_AclIpv4PrefixList)
KIV_NESTED_REACTOR_DEFINE(Firewall::MatchListConfigPathSm::NestedSm_AclIpv6PrefixList)

namespace Firewall {

KIV_FACTORY_DEFINE(RootDirSm, rootDirSmFactory)
KIV_FACTORY_DEFINE(RootFeatureEnableSm, rootFeatureEnableSmFactory)
KIV_FACTORY_DEFINE(ActiveWorkManager, activeWorkManagerFactory)
KIV_FACTORY_DEFINE(RootSm, rootSmFactory)
KIV_FACTORY_DEFINE(VrfSm, vrfSmFactory)
KIV_FACTORY_DEFINE(SegmentSM, segmentSMFactory)
KIV_FACTORY_DEFINE(MatchListConfigPathSm, matchListConfigPathSmFactory)

}  // namespace Firewall
