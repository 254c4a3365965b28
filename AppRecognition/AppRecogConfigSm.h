// The sibling reactor of application recognition: it keeps the version of every application
// profile.
//
//   using Firewall::AppRecogConfigSm;
//   auto sm = AppRecogConfigSm::AppRecogConfigSmIs(appRecConfig, appRecStatus, fieldSetConfig);
//   sm->hasNotificationActiveIs(true);
//
// `versionForAppProfile[name]` of the status rises by one whenever the application of that name, or
// a field set that it names, was added, changed or removed; when the application goes, so does the
// entry. When it is first switched on, entries without an application go, and then every
// application rises by one, in name order: whoever compiles profiles by version compiles all of
// them anew.
//
// It does not compile anything: that is the work of those who watch the versions. When a subscriber
// throws at a version, all versions are raised first; then the exception reaches whoever switched
// the reactor on or made the change.
#pragma once

#include "framework/Kiv/Reactor.h"
#include "framework/Pith/Export.h"
#include "framework/Pith/Ptr.h"
#include "model/Classification/AppRecognition.h"

namespace Firewall {

class PITH_EXPORT AppRecogConfigSm : public Kiv::ReactorBase {
 public:
  static Pith::Ptr<AppRecogConfigSm> AppRecogConfigSmIs(
      Pith::Ptr<const Classification::AppRecognitionConfig> appRecConfig,
      Pith::Ptr<Classification::AppRecognitionStatus> appRecStatus,
      Pith::Ptr<const Classification::FieldSetConfig> fieldSetConfig);

 protected:
  AppRecogConfigSm() = default;
  ~AppRecogConfigSm() override;
};

}  // namespace Firewall
