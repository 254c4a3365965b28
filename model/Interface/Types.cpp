// The home of the namespace's types: their tables are made here.
#include "model/Interface/AllIntfStatusDir.h"

KIV_ENTITY_DEFINE(Interface::AllIntfStatusDir)
