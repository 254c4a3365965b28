// The home of the namespace's types: their tables are made here.
#include "model/MatchList/MatchList.h"

KIV_ENTITY_DEFINE(MatchList::MatchIpv4PrefixListConfig)
KIV_ENTITY_DEFINE(MatchList::MatchIpv6PrefixListConfig)
KIV_ENTITY_DEFINE(MatchList::Config)
