#include "AppRecognition/ProfileVersions.h"

#include <cstdint>
#include <utility>

#include "framework/Kiv/AllSteps.h"

KIV_REACTOR_DEFINE(Firewall::ProfileVersions)

namespace Firewall {

using Classification::AppConfig;
using Classification::AppRecognitionConfig;
using Classification::FieldSetConfig;

ProfileVersions::Watch::Watch(ProfileVersions& owner, Handler handler, Pith::String name,
                              Pith::Ptr<const Kiv::Entity> entity)
    : owner_(&owner),
      handler_(handler),
      name_(std::move(name)),
      entity_(std::move(entity)),
      subscriber_(this, &Watch::deliver) {
  activeIs(true);
}

void ProfileVersions::Watch::activeIs(bool on) {
  if (on) {
    entity_->publisher().subscriberAdd(subscriber_);
  } else {
    subscriber_.unsubscribeFrom(subscriber_.publisher());
  }
}

void ProfileVersions::Watch::deliver(void* watch, Pith::Publisher* /*publisher*/,
                                     Pith::Subscriber* /*subscriber*/, Pith::FieldId /*field*/,
                                     const void* /*key*/, const Pith::Change* /*change*/) {
  auto* const self = static_cast<Watch*>(watch);
  ProfileVersions* const owner = self->owner_;
  if (owner->isZombie()) return;
  const Handler handler = self->handler_;
  const Pith::String name = self->name_;  // the handler may make this watch anew
  Kiv::anchored(owner, [&] { (owner->*handler)(name); });
}

ProfileVersions::ProfileVersions(ProfileVersionsAttributes attributes)
    : Reactor(std::move(attributes)),
      appRecConfigSubscription_(*this, appRecConfig),
      fieldSetConfigSubscription_(*this, fieldSetConfig) {}

void ProfileVersions::start() {
  for (Pith::Ptr<const AppConfig> app : appRecConfig->app()) watchApp(app->name());
  for (Pith::Ptr<const Classification::FieldSetL4PortConfig> set :
       fieldSetConfig->fieldSetL4Port()) {
    watchFieldSet(portSets_, &ProfileVersions::handlePortSet, set->name(), set);
  }
  for (Pith::Ptr<const Classification::FieldSetIpPrefixConfig> set :
       fieldSetConfig->fieldSetIpPrefix()) {
    watchFieldSet(prefixSets_, &ProfileVersions::handlePrefixSet, set->name(), set);
  }
}

void ProfileVersions::subscriptionsActiveIs(bool on) {
  AppRecogConfigSm::subscriptionsActiveIs(on);
  for (Watches* watches :
       {&apps_, &portSets_.sets, &portSets_.contents, &prefixSets_.sets, &prefixSets_.contents}) {
    for (const auto& [name, watched] : *watches) watched->activeIs(on);
  }
  if (on && !initialized_) handleInitialized();
}

void ProfileVersions::appRecConfigDispatch(Pith::Publisher* /*publisher*/,
                                           Pith::Subscriber* /*subscriber*/, Pith::FieldId field,
                                           const void* key, const Pith::Change* /*change*/) {
  if (field != AppRecognitionConfig::appField || isZombie()) return;
  handleApp(*static_cast<const Pith::String*>(key));
}

void ProfileVersions::fieldSetConfigDispatch(Pith::Publisher* /*publisher*/,
                                             Pith::Subscriber* /*subscriber*/, Pith::FieldId field,
                                             const void* key, const Pith::Change* /*change*/) {
  if (isZombie()) return;
  if (field == FieldSetConfig::fieldSetL4PortField) {
    handlePortSet(*static_cast<const Pith::String*>(key));
  } else if (field == FieldSetConfig::fieldSetIpPrefixField) {
    handlePrefixSet(*static_cast<const Pith::String*>(key));
  }
}

void ProfileVersions::handleInitialized() {
  initialized_ = true;
  Kiv::AllSteps steps;  // an application that cannot be compiled does not keep the others waiting
  for (auto entry : appRecStatus->versionForAppProfile()) {
    if (appRecConfig->appHas(entry.key)) continue;
    steps.run([&] { appRecStatus->versionForAppProfileDel(entry.key); });
  }
  for (Pith::Ptr<const AppConfig> app : appRecConfig->app()) {
    if (!hasNotificationActive()) break;  // a subscriber had it taken down
    steps.run([&] { raise(app->name()); });
  }
}

void ProfileVersions::handleApp(const Pith::String& name) {
  watchApp(name);
  if (appRecConfig->appHas(name)) {
    raise(name);
  } else {
    appRecStatus->versionForAppProfileDel(name);
  }
}

void ProfileVersions::handlePortSet(const Pith::String& name) {
  watchFieldSet(portSets_, &ProfileVersions::handlePortSet, name,
                fieldSetConfig->fieldSetL4Port(name));
  raiseUsers(portSets_, name);
}

void ProfileVersions::handlePrefixSet(const Pith::String& name) {
  watchFieldSet(prefixSets_, &ProfileVersions::handlePrefixSet, name,
                fieldSetConfig->fieldSetIpPrefix(name));
  raiseUsers(prefixSets_, name);
}

void ProfileVersions::watch(Watches& watches, Handler handler, const Pith::String& name,
                            const Pith::Ptr<const Kiv::Entity>& entity) {
  const auto present = watches.find(name);
  if (!entity) {
    if (present != watches.end()) watches.erase(present);
  } else if (present == watches.end() || !present->second->watches(*entity)) {
    watches.insert_or_assign(name, std::make_unique<Watch>(*this, handler, name, entity));
  }
}

template <class FieldSet>
void ProfileVersions::watchFieldSet(FieldSets& fieldSets, Handler handler, const Pith::String& name,
                                    const Pith::Ptr<const FieldSet>& fieldSet) {
  watch(fieldSets.sets, handler, name, fieldSet);
  watch(fieldSets.contents, handler, name,
        fieldSet ? Pith::Ptr<const Kiv::Entity>(fieldSet->subConfig()) : nullptr);
}

void ProfileVersions::watchApp(const Pith::String& name) {
  const Pith::Ptr<const AppConfig> app = std::as_const(*appRecConfig).app(name);
  watch(apps_, &ProfileVersions::handleApp, name, app);
  Named now;
  if (app) {
    now.portSets = {app->dstPortFieldSet(), app->srcPortFieldSet()};
    now.prefixSets = {app->dstPrefixFieldSet(), app->srcPrefixFieldSet()};
    now.portSets.erase(Pith::String());
    now.prefixSets.erase(Pith::String());
  }
  Named& before = named_[name];
  usersUpdate(portSets_, name, before.portSets, now.portSets);
  usersUpdate(prefixSets_, name, before.prefixSets, now.prefixSets);
  if (app) {
    before = std::move(now);
  } else {
    named_.erase(name);
  }
}

void ProfileVersions::usersUpdate(FieldSets& fieldSets, const Pith::String& app,
                                  const Names& before, const Names& after) {
  for (const Pith::String& set : before) {
    if (after.contains(set)) continue;
    const auto users = fieldSets.users.find(set);
    users->second.erase(app);
    if (users->second.empty()) fieldSets.users.erase(users);
  }
  for (const Pith::String& set : after) fieldSets.users[set].insert(app);
}

void ProfileVersions::raise(const Pith::String& app) {
  const std::uint32_t* const version = appRecStatus->versionForAppProfile(app);
  const std::uint32_t next = version == nullptr ? 1 : *version + 1;
  appRecStatus->versionForAppProfileIs(app, next == 0 ? 1 : next);  // 0 means gone
}

void ProfileVersions::raiseUsers(const FieldSets& fieldSets, const Pith::String& name) {
  const auto users = fieldSets.users.find(name);
  if (users == fieldSets.users.end()) return;
  const Names apps = users->second;
  Kiv::AllSteps steps;
  for (const Pith::String& app : apps) {
    steps.run([&] {
      if (appRecConfig->appHas(app)) raise(app);
    });
  }
}

}  // namespace Firewall
