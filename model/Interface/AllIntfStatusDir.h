// The interfaces that the switch has.
#pragma once

#include "framework/Kiv/Entity.h"
#include "framework/Lanx/IntfId.h"

namespace Interface {

class PITH_EXPORT AllIntfStatusDir : public Kiv::Entity {
  KIV_ENTITY(AllIntfStatusDir, Kiv::Entity)
  KIV_SET(Lanx::IntfId, intfStatus)
};

}  // namespace Interface
