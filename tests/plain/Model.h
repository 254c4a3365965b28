// The plain model: what the library is to do, told once more as plainly as possible. It walks
// everything at every turn, knows no index, and shares no code with the library.
//
//   Plain::Model model;
//   change something in model.in and tell those who watch it (Changes.h does);
//   model.hw->dump(), model.log()           // the output tree, and the writes in their order
//
// Each struct below is a part of the behaviour with what it remembers: who exists, and what it
// watches.
#pragma once

#include "tests/plain/Outputs.h"

namespace Plain {

class Root;
class Features;

class Model {
 public:
  Model();
  ~Model();
  void start();
  void stop();
  bool started() const { return features != nullptr; }

  // Those of `in.configs` that are enabled, without `except`, in the directory's order.
  std::vector<std::shared_ptr<Config>> enabledConfigs(const Config* except = nullptr) const;
  std::vector<std::shared_ptr<Config>> configs() const;

  Inputs in;
  std::shared_ptr<HwConfig> hw = std::make_shared<HwConfig>();
  Status status;
  Lines log;
  unsigned openWorks = 0;
  std::unique_ptr<Features> features;
};

// A piece of work that shows as updateInProgress until it is done.
class Work {
 public:
  explicit Work(Model& model) : model_(&model) {
    ++model_->openWorks;
    if (!model_->hw->updateInProgress) model_->hw->updateInProgressIs(true);
  }
  Work(const Work&) = delete;
  Work& operator=(const Work&) = delete;
  ~Work() {
    if (--model_->openWorks == 0) model_->hw->updateInProgressIs(false);
  }

 private:
  Model* model_;
};

// The versions of the application profiles.
class Profiles {
 public:
  explicit Profiles(Model& model);
  void raiseAll();

 private:
  void watch(const std::string& app);
  void onApplication(const std::string& app);
  void onFieldSet(const std::string& name, bool ports);
  void raise(const std::string& app);

  Model* model_;
  std::map<std::string, Watching> apps_;
  Watching applications_;
};

// Which sources there are, which of them are enabled, and whether anything is active.
class Features {
 public:
  explicit Features(Model& model);
  ~Features();
  void cleanup();

 private:
  struct Source {
    std::string name;
    std::shared_ptr<Config> config;
    std::unique_ptr<Root> root;
    bool isRootMissing = false;  // enabled, but it could not start
    Watching watching;
  };

  void onSource(const std::string& name);
  void onEnabled(Source& source);
  void removeSource(const std::string& name);
  void endQuietly(Source& source);
  bool isAnyRunning();
  void evaluate();
  void cleanupOutput();

  Model* model_;
  Listed<std::string, std::shared_ptr<Source>> sources_;
  std::unique_ptr<Profiles> profiles_;
  Watching directory_;
  bool isEnding_ = false;
};

class VrfPart;

// One enabled source.
class Root {
 public:
  Root(Model& model, std::shared_ptr<Config> config);
  ~Root();
  void cleanup();
  void unhook();

  Model& model() { return *model_; }
  const std::shared_ptr<Config>& config() const { return config_; }
  void updateVlanSet(FwSegment& segment, const std::string& intf, const VlanSet& data);
  bool isIntfInVrf(const std::string& className, const std::string& intf) const;

 private:
  struct ClassMapWatch {
    std::shared_ptr<ClassMap> classMap;
    Watching watching;
    std::map<std::string, Watching> vlans;
  };

  // Root.cpp
  void onConfig(const News& news);
  void handleDefaultPolicyDrop();
  void handleForwardingType();
  void handleVrf(const std::string& name);
  void handleL2();
  // Policies.cpp
  void handlePolicy(const std::string& name);
  void linkPolicy(const std::string& name, bool add);
  void unlinkEverywhere(const std::shared_ptr<FwPolicy>& policy);
  void handlePolicyRules(const Policy& policy);
  void handlePolicyRule(const Policy& policy, std::uint32_t seqnum);
  bool addPolicyRulesAll(const Policy& policy, std::uint32_t seqnum);
  void takeOver(const std::string& policy, std::uint32_t seqnum);
  void addServicePolicyRules(const std::shared_ptr<FwService>& service, const Policy& policy,
                             std::uint32_t seqnum);
  bool addPolicyRule(const Policy& policy, std::uint32_t seqnum, const Prefix& sip,
                     const Prefix& dip, std::optional<unsigned> protocol, const Range& dst,
                     const Range& src);
  void deletePolicyRules(const std::string& policy, std::uint32_t seqnum);
  void watchPolicy(const std::string& name);
  // Services.cpp
  void onService(const std::string& name);
  void watchService(const std::string& name);
  void handleServiceChange(const std::shared_ptr<FwService>& service);
  void deleteServicePolicyRules(const std::string& name);
  std::vector<std::pair<std::string, std::uint32_t>> rulesNaming(const std::string& service) const;
  void handleVersion(const std::string& app);
  // ClassMaps.cpp
  void handleClassMap(const std::string& name);
  void handleClassMapIntf(const ClassMap& classMap, const std::string& intf);
  void addIntfSegmentAll(const std::string& className, const std::string& intf);
  void deleteIntfSegmentAll(const std::string& className, const std::string& intf);
  void watchClassMap(const std::string& name);
  void watchVlans(ClassMapWatch& watch, const std::string& intf);

  Model* model_;
  std::shared_ptr<Config> config_;
  bool initialized_ = false;
  Listed<std::string, std::shared_ptr<VrfPart>> vrfs_;
  std::shared_ptr<VrfPart> l2_;
  std::map<std::string, Watching> policies_;
  std::map<std::string, Watching> services_;
  std::map<std::string, std::shared_ptr<ClassMapWatch>> classMaps_;
  Watching configWatch_;
  Watching ipWatch_;
  Watching hwWatch_;
  Watching versionWatch_;
};

std::vector<Range> alignedBlocks(const Range& range);

// Links between segments (Links.cpp).
bool isSegmentConfigured(const Model& model, const std::string& vrf, const std::string& segment);
void addInterimFromSegment(Model& model, const Segment& segment, FwDir& directory,
                           FwSegment& target, const std::string& from);
void addLinksAll(Model& model, const SegmentDir& input, FwDir& output, const std::string& from,
                 const std::string& policy);
void deleteLinksAll(const SegmentDir& input, FwDir& output, const std::string& from,
                    const std::string& policy);

}  // namespace Plain
