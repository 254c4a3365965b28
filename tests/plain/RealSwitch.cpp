#include "tests/plain/RealSwitch.h"

#include <gtest/gtest-spi.h>

#include <optional>

#include "Firewall/ActiveWorkManager.h"
#include "Firewall/Sources/SwitchStore.h"
#include "framework/Kiv/Inspector.h"
#include "tests/support/IndexWalks.h"
#include "tests/support/Recorder.h"
#include "tests/support/Switch.h"

namespace Plain {
namespace {

// What the fake hardware agent finds, kept from the test that runs.
class Findings {
 public:
  explicit Findings(std::string& to) : to_(&to) {}
  Findings(const Findings&) = delete;
  Findings& operator=(const Findings&) = delete;
  ~Findings() {
    for (int at = 0; at < results_.size(); ++at) *to_ += results_.GetTestPartResult(at).message();
  }

 private:
  std::string* to_;
  testing::TestPartResultArray results_;
  testing::ScopedFakeTestPartResultReporter reporter_{
      testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &results_};
};

}  // namespace

struct RealSwitch::Objects : Firewall::SwitchStore {
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

  std::map<std::string, Firewall::Config::Ptr> configs;
  std::map<std::string, ::MatchList::Config::Ptr> paths;
  struct Watchers {
    explicit Watchers(const Objects& objects)
        : recorder(objects.hwConfig),
          statusRecorder(objects.firewallStatus, recorder, "status/"),
          hardware(objects.hwConfig) {}
    TestSupport::WriteRecorder recorder;
    TestSupport::WriteRecorder statusRecorder;
    TestSupport::FakeHardwareAgent hardware;
  };
  std::optional<Watchers> watchers;
  std::string findings;  // of the hardware agent
  TestSupport::IndexWalks indexes;
};

RealSwitch::RealSwitch(Watched watched) : objects_(std::make_unique<Objects>()) {
  if (watched == Watched::yes) objects_->watchers.emplace(*objects_);
}
RealSwitch::~RealSwitch() { stop(); }

void RealSwitch::apply(const Change& change) {
  Objects& o = *objects_;
  std::optional<Findings> listening;
  if (o.watchers) listening.emplace(o.findings);
  if (change.kind == Change::Kind::start) {
    o.start();
    return;
  }
  if (change.kind == Change::Kind::stop) {
    stop();
    return;
  }
  if (change.below.empty()) {
    const bool isSource = change.steps[0] == "source";
    const auto& directory = isSource ? o.fwConfigDir : o.matchListConfigDir;
    if (change.steps.size() == 1) {
      directory->entityDelAll();
      return;
    }
    const std::string& name = change.steps[1];
    if (!change.text.empty()) {
      isSource ? void(o.configs.erase(name)) : void(o.paths.erase(name));
    }
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

void RealSwitch::stop() { objects_->stop(); }

Lines RealSwitch::dump() {
  Lines lines;
  for (const std::string& line : TestSupport::dumpOf(*objects_->hwConfig)) {
    lines.push_back(TestSupport::withShortReferences(line));
  }
  std::ranges::sort(lines);
  return lines;
}

Lines RealSwitch::takeWrites() { return objects_->watchers->recorder.take(); }

std::vector<Pith::Ptr<Kiv::Entity>> RealSwitch::outputs() const {
  return {objects_->hwConfig, objects_->firewallStatus, objects_->appRecStatus};
}

bool RealSwitch::isEmpty() const {
  const Firewall::HwConfig& hwConfig = *objects_->hwConfig;
  return hwConfig.vrf().empty() && hwConfig.policy().empty() && hwConfig.services().empty() &&
         !hwConfig.l2Seg() && !hwConfig.active() && objects_->firewallStatus->service().empty();
}

std::string RealSwitch::broken() {
  Objects& o = *objects_;
  if (o.hwConfig->updateInProgress()) return "updateInProgress is true";
  if (o.root && o.root->activeWorkManager()->activeHandles() != 0) return "a work handle is open";
  std::vector<Firewall::Config::Ptr> configs;
  for (const auto& [name, config] : o.configs) {
    if (config) configs.push_back(config);
  }
  return o.indexes.fault(*o.hwConfig, configs);
}

std::string RealSwitch::complaint() {
  Objects& o = *objects_;
  if (std::string fault = broken(); !fault.empty()) return fault;
  if (o.watchers) {
    {
      const Findings listening(o.findings);
      o.watchers->hardware.checkAtRest();
    }
    if (!o.findings.empty()) return o.findings;
  }
  if (!o.hwConfig->active()) return "";
  std::set<std::string> services;
  std::set<std::string> reported;
  for (const auto& service : o.hwConfig->services())
    services.insert(std::string(service->name().view()));
  for (const auto& name : o.firewallStatus->service()) reported.insert(std::string(name.view()));
  return services == reported ? "" : "Status.service is not HwConfig.services";
}

}  // namespace Plain
