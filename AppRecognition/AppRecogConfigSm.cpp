#include "AppRecognition/AppRecogConfigSm.h"

#include <utility>

#include "AppRecognition/ProfileVersions.h"

namespace Firewall {

AppRecogConfigSm::~AppRecogConfigSm() = default;

Pith::Ptr<AppRecogConfigSm> AppRecogConfigSm::AppRecogConfigSmIs(
    Pith::Ptr<const Classification::AppRecognitionConfig> appRecConfig,
    Pith::Ptr<Classification::AppRecognitionStatus> appRecStatus,
    Pith::Ptr<const Classification::FieldSetConfig> fieldSetConfig) {
  // Switched off: who asked for it holds it before the versions rise.
  auto versions = ProfileVersions::Ptr::adopt(new ProfileVersions(
      {std::move(appRecConfig), std::move(appRecStatus), std::move(fieldSetConfig)}));
  versions->start();
  return versions;
}

}  // namespace Firewall
