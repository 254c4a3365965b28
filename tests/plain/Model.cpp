#include "tests/plain/Model.h"

namespace Plain {

Model::Model() {
  hw->log = &log;
  status.log = &log;
}
Model::~Model() { stop(); }

void Model::start() { features = std::make_unique<Features>(*this); }

void Model::stop() {
  if (!features) return;
  features->cleanup();
  features.reset();
}

std::vector<std::shared_ptr<Config>> Model::configs() const {
  std::vector<std::shared_ptr<Config>> found;
  for (const auto& [name, config] : in.configs->entry.items()) found.push_back(config);
  return found;
}

std::vector<std::shared_ptr<Config>> Model::enabledConfigs(const Config* except) const {
  auto found = configs();
  std::erase_if(found, [except](const std::shared_ptr<Config>& config) {
    return !config->enabled || config.get() == except;
  });
  return found;
}

Features::Features(Model& model)
    : model_(&model), directory_(model.in.configs, [this](const News& news) {
        if (news.what == "entity") onSource(news.key);
      }) {
  const Work work(*model_);
  cleanupOutput();
  for (const std::string& name : model_->in.configs->entry.keys()) {
    try {
      onSource(name);
    } catch (const Refused&) {
      if (sources_.get(name)->root) continue;  // it runs, without an application
      cleanup();
      directory_.end();
      profiles_.reset();
      throw;
    }
  }
}

Features::~Features() = default;

void Features::onSource(const std::string& name) {
  const auto config = model_->in.configs->entry.get(name);
  if (!config) {
    removeSource(name);
    return;
  }
  if (sources_.has(name)) return;
  const auto source = std::make_shared<Source>();
  source->name = name;
  source->config = config;
  source->watching = Watching(config, [this, raw = source.get()](const News& news) {
    if (news.what == "enabled") onEnabled(*raw);
  });
  AllSteps steps;
  steps.run([&] { onEnabled(*source); });
  sources_.set(name, source);
  steps.end();
}

void Features::onEnabled(Source& source) {
  if (source.config->enabled) {
    AllSteps steps;
    steps.run([&] {
      if (!source.root) source.root = std::make_unique<Root>(*model_, source.config);
    });
    source.isRootMissing = !source.root;
    if (source.root) {
      steps.run([&] { evaluate(); });
    } else if (!isAnyRunning()) {
      cleanupOutput();
    }
    steps.end();
    return;
  }
  if (!source.root) {
    if (std::exchange(source.isRootMissing, false)) evaluate();
    return;
  }
  evaluate();
  source.root->cleanup();
  source.root->unhook();
  source.root.reset();
}

bool Features::isAnyRunning() {
  return std::ranges::any_of(sources_.items(),
                             [](const auto& item) { return !!item.second->root; });
}

void Features::removeSource(const std::string& name) {
  const auto source = sources_.get(name);
  if (!source) return;
  sources_.erase(name);
  source->watching.end();
  endQuietly(*source);
}

// Nobody hears of what is refused to a source that goes.
void Features::endQuietly(Source& source) {
  AllSteps steps;
  if (!source.root) {
    if (source.isRootMissing && !isEnding_) steps.run([this] { evaluate(); });
    return;
  }
  source.root->cleanup();
  source.root->unhook();
  source.root.reset();
  steps.run([this] { evaluate(); });
}

void Features::evaluate() {
  const bool active = !model_->enabledConfigs().empty();
  AllSteps steps;
  if (active) {
    if (!profiles_) {
      profiles_ = std::make_unique<Profiles>(*model_);
      steps.run([this] { profiles_->raiseAll(); });
    }
  } else {
    profiles_.reset();
    cleanupOutput();
  }
  model_->hw->activeIs(active);
  steps.end();
}

void Features::cleanupOutput() {
  model_->hw->activeIs(false);
  model_->hw->vrfDelAll();
  model_->hw->policyDelAll();
  model_->hw->l2SegDel();
  model_->hw->servicesDelAll();
  for (const std::string& name : model_->status.service.keys()) model_->status.serviceDel(name);
}

void Features::cleanup() {
  isEnding_ = true;
  const Work work(*model_);
  for (const std::string& name : sources_.keys()) removeSource(name);
  cleanupOutput();
}

Profiles::Profiles(Model& model) : model_(&model) {
  applications_ = Watching(model.in.applications, [this](const News& news) {
    if (news.what == "app") onApplication(news.key);
    if (news.what == "ports" || news.what == "prefixes") onFieldSet(news.key, news.what == "ports");
  });
  for (const auto& entry : model_->in.applications->app) watch(entry.first);
}

void Profiles::raiseAll() {
  auto& versions = *model_->in.versions;
  AllSteps steps;
  for (const std::string& app : versions.version.keys()) {
    if (model_->in.applications->app.contains(app)) continue;
    versions.version.erase(app);
    steps.run([&] { versions.tell({"version", app, {}, {}}); });
  }
  for (const auto& entry : std::map(model_->in.applications->app)) {
    steps.run([&] { raise(entry.first); });
  }
  steps.end();
}

void Profiles::watch(const std::string& app) {
  apps_[app] = Watching(model_->in.applications->app.at(app),
                        [this, app](const News& /*news*/) { raise(app); });
}

void Profiles::onApplication(const std::string& app) {
  if (model_->in.applications->app.contains(app)) {
    watch(app);
    raise(app);
    return;
  }
  apps_.erase(app);
  model_->in.versions->version.erase(app);
  model_->in.versions->tell({"version", app, {}, {}});
}

void Profiles::onFieldSet(const std::string& name, bool ports) {
  AllSteps steps;
  for (const auto& [app, config] : std::map(model_->in.applications->app)) {
    for (const auto& [which, set] : config->fieldSet) {
      if (set != name || (which.find("Port") != std::string::npos) != ports) continue;
      steps.run([&, name = app] { raise(name); });
      break;
    }
  }
  steps.end();
}

void Profiles::raise(const std::string& app) {
  auto& versions = *model_->in.versions;
  versions.version.set(app, versions.version.get(app) + 1);
  versions.tell({"version", app, {}, {}});
}

}  // namespace Plain
