// Compiles application profiles: each becomes a service of the output, kept by difference, so that
// a reader of the output sees only what changed.
#pragma once

#include "Firewall/Attributes.h"
#include "Firewall/Stage.h"
#include "framework/Pith/String.h"

namespace Firewall {

class ApplicationCompiler {
 public:
  // The arguments must outlive this object.
  ApplicationCompiler(const RootSmAttributes& at, const Stage& stage) noexcept
      : at_(at), stage_(stage) {}

  // The version of the profile changed: none, or 0, is a profile that is gone.
  void handleVersionForAppProfile(const Pith::String& name) const;

 private:
  const RootSmAttributes& at_;
  const Stage& stage_;
};

}  // namespace Firewall
