// The home of the namespace's types: their tables are made here.
#include "model/Ip/Status.h"

KIV_ENTITY_DEFINE(Ip::Status)
