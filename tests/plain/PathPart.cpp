#include "tests/plain/Segments.h"

namespace Plain {

PathPart::PathPart(SegmentPart& segment, std::shared_ptr<ListPath> path)
    : segment_(&segment), path_(std::move(path)) {
  const auto& prefixLists = segment_->model().in.prefixLists;
  for (const Family family : families) {
    for (const std::string& name : path_->list[family].keys()) watchMatchList(family, name);
    for (const std::string& name : prefixLists->list[family].keys()) watchPrefixList(family, name);
  }
  inputWatch_ = Watching(segment_->inputPtr(), [this](const News& news) {
    if (news.what == "prefixIpv4Ml") handleList(ipv4);
    if (news.what == "prefixIpv6Ml") handleList(ipv6);
  });
  pathWatch_ = Watching(path_, [this](const News& news) {
    const Family family = news.what == "matchIpv4PrefixList" ? ipv4 : ipv6;
    handleList(family, news.key);
    watchMatchList(family, news.key);
  });
  prefixListsWatch_ = Watching(prefixLists, [this](const News& news) {
    const Family family = news.what == "prefixList" ? ipv4 : ipv6;
    handleList(family, news.key);
    watchPrefixList(family, news.key);
  });
  for (const Family family : families) handleList(family);
}

void PathPart::watchMatchList(Family family, const std::string& name) {
  const auto list = path_->list[family].get(name);
  if (!list) {
    matchLists_[family].erase(name);
  } else if (!matchLists_[family].contains(name)) {
    matchLists_[family][name] = Watching(list, [this, family, name](const News& news) {
      handleSubnet(family, name, Subnet::parse(news.key));
    });
  }
}

void PathPart::watchPrefixList(Family family, const std::string& name) {
  const auto list = segment_->model().in.prefixLists->list[family].get(name);
  if (!list) {
    prefixLists_[family].erase(name);
  } else if (!prefixLists_[family].contains(name)) {
    prefixLists_[family][name] =
        Watching(list, [this, family, name](const News& news) { handleEntry(family, name, news); });
  }
}

void PathPart::handleList(Family family, const std::string& name) {
  if (source(family).kind != ListSource::none && source(family).name == name) handleList(family);
}

void PathPart::handleList(Family family) {
  const ListSource from = source(family);
  const auto& output = segment_->output();
  std::set<Subnet> wanted;
  if (from.kind == ListSource::none) {
    if (!isMatchListConfigured(family)) clean(family, false);
    return;
  }
  if (from.kind == ListSource::prefixList) {
    const auto list = segment_->model().in.prefixLists->list[family].get(from.name);
    if (!list) {
      clean(family, false);
      return;
    }
    for (const auto& [seqnum, prefix] : list->entry) {
      if (prefix.empty()) continue;
      wanted.insert(Subnet::parse(prefix));
      add(Subnet::parse(prefix));
    }
    for (const Subnet& subnet : std::vector(output->subnets)) {
      if (familyOf(subnet) == family && !wanted.contains(Subnet(Prefix(subnet)))) remove(subnet);
    }
    return;
  }
  const auto list = path_->list[family].get(from.name);
  if (!list) {
    if (!hasMatchList(family, from.name)) clean(family, false);
    return;
  }
  for (const Subnet& subnet : std::set(list->subnets)) add(subnet);
  for (const Subnet& subnet : std::vector(output->subnets)) {
    if (familyOf(subnet) == family && !list->subnets.contains(subnet)) remove(subnet);
  }
}

void PathPart::handleSubnet(Family family, const std::string& list, const Subnet& subnet) {
  if (source(family) != ListSource{ListSource::matchList, list}) return;
  if (path_->list[family].get(list)->subnets.contains(subnet)) {
    add(subnet);
  } else {
    remove(subnet);
  }
}

void PathPart::handleEntry(Family family, const std::string& list, const News& news) {
  if (source(family) != ListSource{ListSource::prefixList, list}) return;
  if (news.before && !news.before->empty()) remove(Subnet::parse(*news.before));
  if (news.after && !news.after->empty()) add(Subnet::parse(*news.after));
}

// When the segment leaves, what another enabled source's list holds for it stays.
void PathPart::clean(Family family, bool leaving) {
  for (const Subnet& subnet : std::vector(segment_->output()->subnets)) {
    if (familyOf(subnet) == family && !(leaving && isHeldByAnother(subnet))) remove(subnet);
  }
}

void PathPart::add(const Subnet& subnet) {
  const auto& directory = segment_->directory();
  const Prefix prefix(subnet);
  if (!segment_->vrf().name().empty() &&
      segment_->model().in.capability->globalPrefixListSupported && !isGloballyConfigured(subnet) &&
      !directory->prefixList.has(prefix)) {
    directory->prefixListIs(prefix, segment_->input().name);
  }
  segment_->output()->subnetsIs(subnet);
}

void PathPart::remove(const Subnet& subnet) {
  const auto& directory = segment_->directory();
  const Prefix prefix(subnet);
  if (!segment_->vrf().name().empty() &&
      segment_->model().in.capability->globalPrefixListSupported && !isGloballyConfigured(subnet)) {
    std::optional<std::string> heir;
    for (const auto& [name, segment] : directory->segment) {
      if (heir || name == segment_->input().name) continue;
      if (segment->hasSubnet(Subnet(prefix))) heir = name;
    }
    if (heir) {
      directory->prefixListIs(prefix, *heir);
    } else {
      directory->prefixListDel(prefix);
    }
  }
  segment_->output()->subnetsDel(subnet);
}

bool PathPart::hasMatchList(Family family, const std::string& name) {
  for (const auto& [key, path] : segment_->model().in.paths->entry.items()) {
    if (path->list[family].has(name)) return true;
  }
  return false;
}

bool PathPart::isMatchListConfigured(Family family) {
  for (const auto& config : segment_->model().configs()) {
    const auto vrf = config->vrf.get(segment_->vrf().name());
    const auto segment = vrf ? vrf->segment.get(segment_->input().name) : nullptr;
    if (segment && segment->source[family].kind != ListSource::none) return true;
  }
  return false;
}

bool PathPart::isGloballyConfigured(const Subnet& subnet) {
  for (const auto& config : segment_->model().configs()) {
    const auto vrf = config->vrf.get(segment_->vrf().name());
    if (vrf && vrf->prefix.has(Prefix(subnet))) return true;
  }
  return false;
}

bool PathPart::isHeldByAnother(const Subnet& subnet) {
  const Family family = familyOf(subnet);
  Model& model = segment_->model();
  for (const auto& config : model.enabledConfigs(segment_->vrf().root().config().get())) {
    const auto vrf = config->vrf.get(segment_->vrf().name());
    const auto segment = vrf ? vrf->segment.get(segment_->input().name) : nullptr;
    if (!segment) continue;
    const ListSource& from = segment->source[family];
    if (from.kind == ListSource::matchList) {
      for (const auto& [key, path] : model.in.paths->entry.items()) {
        const auto list = path->list[family].get(from.name);
        if (list && list->subnets.contains(subnet)) return true;
      }
    } else if (from.kind == ListSource::prefixList) {
      const auto list = model.in.prefixLists->list[family].get(from.name);
      if (!list) continue;
      for (const auto& [seqnum, prefix] : list->entry) {
        if (!prefix.empty() && Subnet::parse(prefix) == subnet) return true;
      }
    }
  }
  return false;
}

}  // namespace Plain
