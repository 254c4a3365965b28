#include "tests/plain/RealSwitch.h"

#include "Firewall/ActiveWorkManager.h"
#include "Firewall/RootDirSm.h"
#include "framework/Kiv/Inspector.h"
#include "tests/support/Recorder.h"
#include "tests/support/Switch.h"

namespace Plain {

struct RealSwitch::Objects {
  Kiv::Object& top(const Change& change) {
    const std::string& first = change.steps[0];
    if (first == "source") return *config(change.steps[1]);
    if (first == "lists") return *path(change.steps[1]);
    if (first == "ip") return *ipStatus;
    if (first == "intf") return *intfStatusDir;
    if (first == "apps") return *appRecConfig;
    if (first == "sets") return *fieldSetConfig;
    if (first == "cap") return *hwCapability;
    return *aclListConfig;
  }
  Firewall::Config::Ptr config(const std::string& name) {
    auto& found = configs[name];
    if (!found) found = Kiv::make<Firewall::Config>(name);
    return found;
  }
  ::MatchList::Config::Ptr path(const std::string& name) {
    auto& found = paths[name];
    if (!found) found = Kiv::make<::MatchList::Config>(name);
    return found;
  }

  Pith::Ptr<Kiv::Dir> fwConfigDir = Kiv::make<Kiv::Dir>();
  Firewall::HwConfig::Ptr hwConfig = Kiv::make<Firewall::HwConfig>();
  Firewall::Status::Ptr firewallStatus = Kiv::make<Firewall::Status>();
  Interface::AllIntfStatusDir::Ptr intfStatusDir = Kiv::make<Interface::AllIntfStatusDir>();
  Ip::Status::Ptr ipStatus = Kiv::make<Ip::Status>();
  Pith::Ptr<Kiv::Dir> matchListConfigDir = Kiv::make<Kiv::Dir>();
  Classification::AppRecognitionConfig::Ptr appRecConfig =
      Kiv::make<Classification::AppRecognitionConfig>();
  Classification::FieldSetConfig::Ptr fieldSetConfig = Kiv::make<Classification::FieldSetConfig>();
  Classification::AppRecognitionStatus::Ptr appRecStatus =
      Kiv::make<Classification::AppRecognitionStatus>();
  Firewall::HwCapability::Ptr hwCapability = Kiv::make<Firewall::HwCapability>();
  Acl::AclListConfig::Ptr aclListConfig = Kiv::make<Acl::AclListConfig>();

  std::map<std::string, Firewall::Config::Ptr> configs;
  std::map<std::string, ::MatchList::Config::Ptr> paths;
  TestSupport::WriteRecorder recorder{hwConfig};
  TestSupport::WriteRecorder statusRecorder{firewallStatus};
  Firewall::RootDirSm::Ptr root;
};

RealSwitch::RealSwitch() : objects_(std::make_unique<Objects>()) {}
RealSwitch::~RealSwitch() { stop(); }

void RealSwitch::apply(const Change& change) {
  Objects& o = *objects_;
  if (change.kind == Change::Kind::start) {
    o.root = Firewall::rootDirSmFactory(o.fwConfigDir, o.hwConfig, o.firewallStatus,
                                        o.intfStatusDir, o.ipStatus, o.matchListConfigDir,
                                        o.appRecConfig, o.fieldSetConfig, o.appRecStatus,
                                        o.hwCapability, o.aclListConfig);
    return;
  }
  if (change.kind == Change::Kind::stop) {
    stop();
    return;
  }
  if (change.below.empty()) {
    const bool isSource = change.steps[0] == "source";
    const auto& directory = isSource ? o.fwConfigDir : o.matchListConfigDir;
    const std::string& name = change.steps[1];
    if (change.kind == Change::Kind::erase) {
      directory->entityDel(name);
    } else if (isSource) {
      directory->entityIs(name, o.config(name));
    } else {
      directory->entityIs(name, o.path(name));
    }
    return;
  }
  const Kiv::Inspector inspector(o.top(change));
  if (change.kind == Change::Kind::write) {
    inspector.write(change.below, change.text);
  } else {
    inspector.erase(change.below);
  }
}

void RealSwitch::stop() {
  if (!objects_->root) return;
  objects_->root->cleanup();
  objects_->root = nullptr;
}

Lines RealSwitch::dump() {
  Lines lines;
  for (const std::string& line : TestSupport::dumpOf(*objects_->hwConfig)) {
    lines.push_back(TestSupport::withShortReferences(line));
  }
  std::ranges::sort(lines);
  return lines;
}

Lines RealSwitch::takeWrites() { return objects_->recorder.take(); }
Lines RealSwitch::takeStatusWrites() { return objects_->statusRecorder.take(); }

std::uint32_t RealSwitch::openHandles() const {
  return objects_->root ? objects_->root->activeWorkManager()->activeHandles() : 0;
}

std::string RealSwitch::complaint() const {
  const Objects& o = *objects_;
  if (o.hwConfig->updateInProgress()) return "updateInProgress is true";
  if (openHandles() != 0) return "a work handle is open";
  if (!o.hwConfig->active()) return "";
  std::set<std::string> services;
  std::set<std::string> reported;
  for (const auto& service : o.hwConfig->services())
    services.insert(std::string(service->name().view()));
  for (const auto& name : o.firewallStatus->service()) reported.insert(std::string(name.view()));
  return services == reported ? "" : "Status.service is not HwConfig.services";
}

}  // namespace Plain
