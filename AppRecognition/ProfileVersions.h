// The implementation of AppRecogConfigSm: it watches every application, every field set and every
// field set's contents, and knows which applications name which field set.
#pragma once

#include <map>
#include <memory>
#include <set>

#include "AppRecognition/AppRecogConfigSm.h"
#include "framework/Kiv/Reactor.h"
#include "framework/Pith/String.h"
#include "model/Classification/AppRecognition.h"

namespace Firewall {

struct ProfileVersionsAttributes {
  Pith::Ptr<const Classification::AppRecognitionConfig> appRecConfig;
  Pith::Ptr<Classification::AppRecognitionStatus> appRecStatus;
  Pith::Ptr<const Classification::FieldSetConfig> fieldSetConfig;
  KIV_FIELDS(appRecConfig, appRecStatus, fieldSetConfig)
};

class ProfileVersions final
    : public Kiv::Reactor<ProfileVersions, ProfileVersionsAttributes, AppRecogConfigSm> {
  KIV_REACTOR(ProfileVersions)

  void appRecConfigDispatch(Pith::Publisher* publisher, Pith::Subscriber* subscriber,
                            Pith::FieldId field, const void* key, const Pith::Change* change);
  void fieldSetConfigDispatch(Pith::Publisher* publisher, Pith::Subscriber* subscriber,
                              Pith::FieldId field, const void* key, const Pith::Change* change);

 private:
  using Handler = void (ProfileVersions::*)(const Pith::String& name);
  using Names = std::set<Pith::String>;

  friend class AppRecogConfigSm;  // makes it, switched off

  // One object that is watched: every change of it calls the handler with its name.
  class Watch {
   public:
    Watch(ProfileVersions& owner, Handler handler, Pith::String name,
          Pith::Ptr<const Kiv::Entity> entity);
    void activeIs(bool on);
    bool watches(const Kiv::Entity& entity) const noexcept { return entity_.get() == &entity; }

   private:
    static void deliver(void* watch, Pith::Publisher* publisher, Pith::Subscriber* subscriber,
                        Pith::FieldId field, const void* key, const Pith::Change* change);

    ProfileVersions* owner_;
    Handler handler_;
    Pith::String name_;
    Pith::Ptr<const Kiv::Entity> entity_;
    Pith::Subscriber subscriber_;
  };
  using Watches = std::map<Pith::String, std::unique_ptr<Watch>>;

  // The field sets of one kind: what is watched, and which applications name them.
  struct FieldSets {
    Watches sets;
    Watches contents;
    std::map<Pith::String, Names> users;
  };

  explicit ProfileVersions(ProfileVersionsAttributes attributes);
  void start();
  void subscriptionsActiveIs(bool on) override;

  // Every version rises.
  void handleInitialized();
  // The application was added, changed or removed.
  void handleApp(const Pith::String& name);
  void handlePortSet(const Pith::String& name);
  void handlePrefixSet(const Pith::String& name);

  void watch(Watches& watches, Handler handler, const Pith::String& name,
             const Pith::Ptr<const Kiv::Entity>& entity);
  // Brings the watches of a field set in line with what is there.
  template <class FieldSet>
  void watchFieldSet(FieldSets& fieldSets, Handler handler, const Pith::String& name,
                     const Pith::Ptr<const FieldSet>& fieldSet);
  // Brings the watch of an application, and who names what, in line with what is there.
  void watchApp(const Pith::String& name);
  static void usersUpdate(FieldSets& fieldSets, const Pith::String& app, const Names& before,
                          const Names& after);

  void raise(const Pith::String& app);
  void raiseUsers(const FieldSets& fieldSets, const Pith::String& name);

  struct Named {
    Names portSets;
    Names prefixSets;
  };

  Watches apps_;
  std::map<Pith::String, Named> named_;
  FieldSets portSets_;
  FieldSets prefixSets_;
  Kiv::Subscription<&ProfileVersions::appRecConfigDispatch> appRecConfigSubscription_;
  Kiv::Subscription<&ProfileVersions::fieldSetConfigDispatch> fieldSetConfigSubscription_;
  bool initialized_ = false;
};

}  // namespace Firewall
