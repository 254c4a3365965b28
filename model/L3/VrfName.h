// The name of a VRF: at most 100 bytes, "default" for the one that is always there. A longer name
// raises the range error "Kiv::String::bytes > maxLength() not allowed".
#pragma once

#include "framework/Kiv/BoundedString.h"

namespace L3 {

class VrfName : public Kiv::BoundedString<100> {
 public:
  using BoundedString::BoundedString;
};

}  // namespace L3
