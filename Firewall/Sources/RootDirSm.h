// The top of the reactor tree and the library's entry.
//
//   auto root = Firewall::rootDirSmFactory(fwConfigDir, hwConfig, status, ...);  // once; keep it
//   ...
//   root->cleanup();                                             // before it is dropped
//
// Every entry of the configuration directory that is a Firewall::Config is one configuration
// source. There is one RootFeatureEnableSm for each; the output is active while any source is
// enabled, and empty otherwise. What a source asks for is the work of the reactors below.
//
// A source whose configuration cannot be replayed leaves nothing behind: the exception reaches who
// enabled it, and it is tried again when it is disabled and enabled. An application that cannot be
// compiled keeps no source from running: the exception reaches who enabled the first source; the
// factory, whose caller would be left without a root, traces it.
#pragma once

#include <utility>

#include "AppRecognition/AppRecogConfigSm.h"
#include "Firewall/Attributes.h"
#include "Firewall/Sources/RootFeatureEnableSm.h"
#include "Firewall/Stage.h"
#include "framework/Kiv/Dir.h"
#include "framework/Kiv/Factory.h"
#include "framework/Kiv/Reactor.h"
#include "framework/Pith/Export.h"
#include "framework/Pith/Ptr.h"
#include "framework/Pith/String.h"
#include "model/Acl/PrefixList.h"
#include "model/Classification/AppRecognition.h"
#include "model/Firewall/HwCapability.h"
#include "model/Firewall/HwConfig.h"
#include "model/Interface/AllIntfStatusDir.h"
#include "model/Ip/Status.h"

namespace Firewall {

// The sibling reactor, which belongs to another library: made anew when it is asked for with other
// references.
class PITH_EXPORT AppRecogChild final : public Kiv::ReactorPart {
 public:
  using Child = AppRecogConfigSm;

  explicit AppRecogChild(Kiv::ReactorBase& owner) noexcept : ReactorPart(owner) {}

  const Pith::Ptr<AppRecogConfigSm>& get() const noexcept { return child_; }
  Pith::Ptr<AppRecogConfigSm> is(
      const Pith::Ptr<const Classification::AppRecognitionConfig>& appRecConfig,
      const Pith::Ptr<Classification::AppRecognitionStatus>& appRecStatus,
      const Pith::Ptr<const Classification::FieldSetConfig>& fieldSetConfig);
  void del() { unhook(std::exchange(child_, nullptr)); }

  void notificationActiveIs(bool on) override;
  void clear() override { del(); }

 private:
  Pith::Ptr<AppRecogConfigSm> child_;
  Pith::Ptr<const Classification::AppRecognitionConfig> appRecConfig_;
  Pith::Ptr<Classification::AppRecognitionStatus> appRecStatus_;
  Pith::Ptr<const Classification::FieldSetConfig> fieldSetConfig_;
};

class PITH_EXPORT RootDirSm final : public Kiv::Reactor<RootDirSm, RootDirSmAttributes> {
  KIV_REACTOR(RootDirSm)
  KIV_CHILD_REACTORS(RootFeatureEnableSm, rootFeatureSm, RootFeatureSmKeyFunktor, Pith::String)
  KIV_CHILD_REACTOR(ActiveWorkManager, activeWorkManager)
  KIV_IMPL_REACTOR_DECLARE(appRecogConfigSm, AppRecogChild)

  // The arguments of RootFeatureEnableSm in order, without the work manager, which is this one's.
  // The child is there, also when its start raises an exception.
  template <class... Args>
  Pith::Ptr<RootFeatureEnableSm> rootFeatureSmIs(const Pith::String& name, Args&&... args) {
    auto child = rootFeatureSm_.is(
        name,
        RootFeatureEnableSmAttributes{name, std::forward<Args>(args)..., activeWorkManager()});
    child->startErrorRaise();
    return child;
  }
  Pith::Ptr<ActiveWorkManager> activeWorkManagerIs(const Pith::Ptr<HwConfig>& output) {
    return activeWorkManager_.is({output});
  }
  const Pith::Ptr<AppRecogConfigSm>& appRecogConfigSm() const noexcept {
    return appRecogConfigSm_.get();
  }
  Pith::Ptr<AppRecogConfigSm> appRecogConfigSmIs(
      const Pith::Ptr<const Classification::AppRecognitionConfig>& config,
      const Pith::Ptr<Classification::AppRecognitionStatus>& status,
      const Pith::Ptr<const Classification::FieldSetConfig>& fieldSets) {
    return appRecogConfigSm_.is(config, status, fieldSets);
  }
  void appRecogConfigSmDel() { appRecogConfigSm_.del(); }

  bool initialized() const noexcept { return stage_.initialized(); }
  // From handleInitialized() to cleanup(); otherwise handlers do nothing.
  bool isWorking() const noexcept { return stage_.isWorking(); }

  void fwConfigDirDispatch(Pith::Publisher* publisher, Pith::Subscriber* subscriber,
                           Pith::FieldId field, const void* key, const Pith::Change* change);

  void handleInitialized();
  void handleConfigurationSource(const Pith::String& name);
  // Decides whether the output is active, and empties it when it is not. The global switches of the
  // output stand.
  void evaluateHwConfigEnableStatus();
  // Takes the sources down and empties the output. A second time it changes nothing.
  void cleanup();
  void cleanupOutput();

 private:
  explicit RootDirSm(RootDirSmAttributes attributes);
  void start();
  void startSource(const Pith::String& name);

  Kiv::Subscription<&RootDirSm::fwConfigDirDispatch> fwConfigDirSubscription_;
  Stage stage_;
};

// The library's entry: called once by the hosting agent, which keeps the root for as long as the
// feature exists. Two of the eleven objects are directories: give them by their names.
KIV_FACTORY(RootDirSm, rootDirSmFactory)

}  // namespace Firewall
