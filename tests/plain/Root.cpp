#include "tests/plain/Segments.h"

namespace Plain {

Root::Root(Model& model, std::shared_ptr<Config> config)
    : model_(&model),
      config_(std::move(config)),
      configWatch_(config_, [this](const News& news) { onConfig(news); }),
      ipWatch_(model.in.ip,
               [this](const News& news) {
                 if (news.what == "vrf") handleVrf(news.key);
                 if (news.what != "ipIntfStatus") return;
                 for (const std::string& name : config_->classMap.keys()) handleClassMap(name);
               }),
      hwWatch_(model.hw,
               [this](const News& news) {
                 if (news.what == "services") onService(news.key);
               }),
      versionWatch_(model.in.versions, [this](const News& news) { handleVersion(news.key); }) {
  for (const std::string& name : config_->classMap.keys()) watchClassMap(name);
  for (const std::string& name : config_->policy.keys()) watchPolicy(name);
  for (const std::string& name : model.hw->services.keys()) watchService(name);
  const Work work(model);
  initialized_ = true;
  handleDefaultPolicyDrop();
  for (const std::string& name : config_->vrf.keys()) handleVrf(name);
  handleL2();
  for (const std::string& name : config_->policy.keys()) handlePolicy(name);
  for (const std::string& name : config_->classMap.keys()) handleClassMap(name);
  handleForwardingType();
}

Root::~Root() = default;

void Root::onConfig(const News& news) {
  if (news.what == "classMap") {
    handleClassMap(news.key);
    watchClassMap(news.key);
  } else if (news.what == "policy") {
    handlePolicy(news.key);
    watchPolicy(news.key);
  } else if (news.what == "vrf") {
    handleVrf(news.key);
  } else if (news.what == "l2") {
    handleL2();
  } else if (news.what == "forwardType") {
    handleForwardingType();
  } else if (news.what == "defaultPolicy") {
    handleDefaultPolicyDrop();
  }
}

void Root::handleDefaultPolicyDrop() {
  bool drop = true;
  for (const auto& config : model_->configs()) {
    if (config->defaultPolicy == "forward") drop = false;
  }
  model_->hw->defaultPolicyDropIs(drop);
}

void Root::handleForwardingType() {
  unsigned type = 0;
  for (const auto& config : model_->configs()) type |= config->forwardType;
  model_->hw->forwardTypeIs(type);
}

void Root::handleVrf(const std::string& name) {
  const auto configured = config_->vrf.get(name);
  const bool present = name == "default" || std::ranges::count(model_->in.ip->vrf, name) > 0;
  if (present && configured) {
    if (!vrfs_.has(name)) vrfs_.set(name, std::make_shared<VrfPart>(*this, name, configured));
  } else if (const auto part = vrfs_.get(name)) {
    part->cleanup();
    vrfs_.erase(name);
    part->unhook();
  }
}

void Root::handleL2() {
  if (config_->l2) {
    if (!l2_) l2_ = std::make_shared<VrfPart>(*this, "", config_->l2);
  } else if (l2_) {
    l2_->cleanup();
    std::exchange(l2_, nullptr)->unhook();
  }
}

void Root::cleanup() {
  const Work work(*model_);
  for (const std::string& name : vrfs_.keys()) {
    const auto part = vrfs_.get(name);
    part->cleanup();
    vrfs_.erase(name);
    part->unhook();
  }
  if (!l2_) return;
  l2_->cleanup();
  std::exchange(l2_, nullptr)->unhook();
}

void Root::unhook() {
  configWatch_.end();
  ipWatch_.end();
  hwWatch_.end();
  versionWatch_.end();
  policies_.clear();
  services_.clear();
  classMaps_.clear();
}

}  // namespace Plain
