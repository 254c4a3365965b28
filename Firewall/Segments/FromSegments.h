// The links of one segment: from which segments it receives, which receive from it, and its
// fallback policy. Which links "forwarding-segments" stands for depends on the sides: a segment
// with interfaces is on the subscriber side of its VRF, any other on the service side.
#pragma once

#include "Firewall/Attributes.h"
#include "Firewall/Stage.h"
#include "framework/Pith/Ptr.h"
#include "framework/Pith/String.h"

namespace Firewall {

class FromSegments {
 public:
  // The arguments must outlive this object. The segment's output is null until it is made.
  FromSegments(const SegmentSMAttributes& at, const Stage& stage,
               const Pith::Ptr<FwSegment>& fwSegment) noexcept
      : at_(at), stage_(stage), fwSegment_(fwSegment) {}

  // Every segment that names this one as a from-segment gets its link.
  void linkReceivers() const;
  void handleFromSegment() const;
  void handleFromSegment(const Pith::String& name) const;
  void addInterimForwardingSegments() const;
  void updateSubcriberSegment(const Pith::String& from) const;
  void updateLocalDataForVrfSegment() const;
  void handleFallbackPolicy() const;
  // The segment leaves with its source: its output goes, or, where another source configures it,
  // its links that no other source has.
  void removeFromSegments() const;
  bool isFromSegmentConfigured(const Pith::String& segment, const Pith::String& fromSegment) const;

 private:
  bool isWorking() const noexcept { return stage_.isWorking() && fwSegment_; }
  bool isForwardingPolicySupported() const;
  // What the configuration names for traffic from there, and for traffic that no from-segment
  // matches; empty for nothing.
  Pith::String policyFor(const Pith::String& fromSegment) const;
  Pith::String fallbackPolicyName() const;

  const SegmentSMAttributes& at_;
  const Stage& stage_;
  const Pith::Ptr<FwSegment>& fwSegment_;
};

}  // namespace Firewall
