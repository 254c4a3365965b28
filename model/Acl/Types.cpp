// The home of the namespace's types: their tables are made here.
#include "model/Acl/PrefixList.h"

KIV_ENTITY_DEFINE(Acl::PrefixList)
KIV_ENTITY_DEFINE(Acl::Ipv6PrefixList)
KIV_ENTITY_DEFINE(Acl::AclListConfig)
