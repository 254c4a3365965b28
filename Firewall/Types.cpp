// The type tables of the reactors: here, where every reactor is known to every other, so that a
// child need know of its owner no more than the name.
#include "Firewall/RootDirSm.h"

KIV_REACTOR_DEFINE(Firewall::RootDirSm)
KIV_REACTOR_DEFINE(Firewall::RootFeatureEnableSm)
KIV_REACTOR_DEFINE(Firewall::ActiveWorkManager)
KIV_REACTOR_DEFINE(Firewall::RootSm)
KIV_REACTOR_DEFINE(Firewall::RootSm::PolicySm)
KIV_REACTOR_DEFINE(Firewall::RootSm::ServiceSm)
KIV_REACTOR_DEFINE(Firewall::RootSm::ClassMapSm)
KIV_REACTOR_DEFINE(Firewall::RootSm::ClassMapSm::NestedSm_IntfVlanData)
KIV_REACTOR_DEFINE(Firewall::VrfSm)
KIV_REACTOR_DEFINE(Firewall::SegmentSM)
KIV_REACTOR_DEFINE(Firewall::MatchListConfigPathSm)
KIV_REACTOR_DEFINE(Firewall::MatchListConfigPathSm::NestedSm_MatchIpv4PrefixList)
KIV_REACTOR_DEFINE(Firewall::MatchListConfigPathSm::NestedSm_MatchIpv6PrefixList)
KIV_REACTOR_DEFINE(Firewall::MatchListConfigPathSm::NestedSm_AclIpv4PrefixList)
KIV_REACTOR_DEFINE(Firewall::MatchListConfigPathSm::NestedSm_AclIpv6PrefixList)
