// The parts of the plain model for one VRF (or the L2 directory), one segment of it, and one
// match-list path of that segment.
#pragma once

#include "tests/plain/Model.h"

namespace Plain {

class SegmentPart;

class VrfPart {
 public:
  // The name is empty for the L2 directory.
  VrfPart(Root& root, std::string name, std::shared_ptr<SegmentDir> input);
  ~VrfPart();
  void cleanup();
  void unhook();

  Root& root() { return *root_; }
  Model& model() { return root_->model(); }
  const std::string& name() const { return name_; }
  const std::shared_ptr<SegmentDir>& input() const { return input_; }
  std::shared_ptr<FwDir> output();
  std::shared_ptr<SegmentPart> segmentPart(const std::string& name) { return segments_.get(name); }

  void reportSubscriberSide(const std::string& segment);
  void reportServiceSide(const std::string& segment) { serviceSide_.set(segment, true); }
  void forget(const std::string& segment);
  std::vector<std::string> subscriberSide() const { return subscriberSide_.keys(); }

 private:
  void initialize();
  void handleSegment(const std::string& name);
  void handleSubscriberSide(const std::string& name);
  void handleForwardingSupported();
  // Prefixes.cpp
  void reconcilePrefixes();
  void handleGlobalPrefix(const Prefix& prefix);
  void releaseGlobalPrefix(const Prefix& prefix);
  void processGlobalPrefix(const SegmentDir& vrf, bool configured, const Prefix& prefix);
  void processGlobalPrefixesForSegment(const std::string& segment);
  void updateOrRemoveGlobalPrefix(const Prefix& prefix, const std::string& segment);
  std::string segmentForMatchListPrefix(const Prefix& prefix);
  std::string globalPrefixSegment(const Prefix& prefix);
  bool isGivenToNone(const Prefix& prefix);

  Root* root_;
  std::string name_;
  std::shared_ptr<SegmentDir> input_;
  bool initialized_ = false;
  Listed<std::string, std::shared_ptr<SegmentPart>> segments_;
  Listed<std::string, bool> subscriberSide_;
  Listed<std::string, bool> serviceSide_;
  Watching inputWatch_;
  Watching capabilityWatch_;
};

class PathPart;

class SegmentPart {
 public:
  SegmentPart(VrfPart& vrf, std::shared_ptr<Segment> input, std::shared_ptr<FwDir> directory);
  ~SegmentPart();
  void cleanup();
  void unhook();
  void handleFromSegment(const std::string& from);
  void updateSubscriberSegment(const std::string& name);
  void updateLocalData();

  VrfPart& vrf() { return *vrf_; }
  Model& model() { return vrf_->model(); }
  const Segment& input() const { return *input_; }
  const std::shared_ptr<Segment>& inputPtr() const { return input_; }
  const std::shared_ptr<FwDir>& directory() const { return directory_; }
  const std::shared_ptr<FwSegment>& output() const { return output_; }

 private:
  void removeFromSegments(const std::shared_ptr<FwSegment>& output);
  bool isFromSegmentConfigured(const std::string& from);
  void handleClassMap();
  void handleFallbackPolicy();
  void handlePath(const std::string& name);

  VrfPart* vrf_;
  std::shared_ptr<Segment> input_;
  std::shared_ptr<FwDir> directory_;
  std::shared_ptr<FwSegment> output_;
  Listed<std::string, std::shared_ptr<PathPart>> paths_;
  Watching inputWatch_;
  Watching pathsWatch_;
};

class PathPart {
 public:
  PathPart(SegmentPart& segment, std::shared_ptr<ListPath> path);
  void clean(Family family, bool leaving);

 private:
  void handleList(Family family);
  void handleList(Family family, const std::string& name);
  void handleSubnet(Family family, const std::string& list, const Subnet& subnet);
  void handleEntry(Family family, const std::string& list, const News& news);
  void watchMatchList(Family family, const std::string& name);
  void watchPrefixList(Family family, const std::string& name);
  void add(const Subnet& subnet);
  void remove(const Subnet& subnet);
  bool hasMatchList(Family family, const std::string& name);
  bool isMatchListConfigured(Family family);
  bool isGloballyConfigured(const Subnet& subnet);
  bool isHeldByAnother(const Subnet& subnet);
  const ListSource& source(Family family) const { return segment_->input().source[family]; }

  SegmentPart* segment_;
  std::shared_ptr<ListPath> path_;
  std::array<std::map<std::string, Watching>, 2> matchLists_;
  std::array<std::map<std::string, Watching>, 2> prefixLists_;
  Watching inputWatch_;
  Watching pathWatch_;
  Watching prefixListsWatch_;
};

}  // namespace Plain
