#include "AppRecognition/AppRecogConfigSm.h"

#include <utility>

#include "AppRecognition/ProfileVersions.h"

namespace Firewall {

AppRecogConfigSm::~AppRecogConfigSm() = default;

Pith::Ptr<AppRecogConfigSm> AppRecogConfigSm::AppRecogConfigSmIs(
    Pith::Ptr<const Classification::AppRecognitionConfig> appRecConfig,
    Pith::Ptr<Classification::AppRecognitionStatus> appRecStatus,
    Pith::Ptr<const Classification::FieldSetConfig> fieldSetConfig) {
  return ProfileVersions::create(
      {std::move(appRecConfig), std::move(appRecStatus), std::move(fieldSetConfig)});
}

}  // namespace Firewall
