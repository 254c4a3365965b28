// The home of the namespace's types: their tables are made here.
#include "model/Firewall/Config.h"
#include "model/Firewall/HwCapability.h"
#include "model/Firewall/HwConfig.h"

KIV_ENTITY_DEFINE(Firewall::Segment)
KIV_ENTITY_DEFINE(Firewall::SegmentDir)
KIV_ENTITY_DEFINE(Firewall::Vrf)
KIV_ENTITY_DEFINE(Firewall::Policy)
KIV_ENTITY_DEFINE(Firewall::IntfVlanRangeSet)
KIV_ENTITY_DEFINE(Firewall::ClassMapFirewall)
KIV_ENTITY_DEFINE(Firewall::Config)
KIV_ENTITY_DEFINE(Firewall::HwCapability)
KIV_ENTITY_DEFINE(Firewall::FwService)
KIV_ENTITY_DEFINE(Firewall::FwPolicy)
KIV_ENTITY_DEFINE(Firewall::FwIntfVlanRangeSet)
KIV_ENTITY_DEFINE(Firewall::FwSegment)
KIV_ENTITY_DEFINE(Firewall::FwSegmentDir)
KIV_ENTITY_DEFINE(Firewall::FwVrf)
KIV_ENTITY_DEFINE(Firewall::HwConfig)
KIV_ENTITY_DEFINE(Firewall::Status)
