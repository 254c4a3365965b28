// What tests of VRFs, segments and class maps begin with: a started switch with the enabled source
// "cli", and short names for its parts.
#pragma once

#include <initializer_list>
#include <string>
#include <vector>

#include "Firewall/Segments/ClassMapName.h"
#include "tests/support/Switch.h"
#include "tests/support/TraceCapture.h"

namespace TestSupport {

inline Lanx::IntfId intfNamed(const std::string& name) { return Lanx::IntfId(Pith::String(name)); }
inline L3::VrfName vrfNamed(std::string_view name) { return name; }

class SegmentTest : public SwitchTest {
 protected:
  void SetUp() override {
    SwitchTest::SetUp();
    cli = enabled("cli");
    sw().start();
    sw().recorder.take();
  }
  void TearDown() override {
    cli = nullptr;
    SwitchTest::TearDown();
  }

  Firewall::Config::Ptr enabled(const std::string& source) {
    auto config = sw().source(source);
    config->enabledIs(true);
    return config;
  }
  // The VRF, which is made when it is not there, exists in the switch and is configured.
  Firewall::Vrf::Ptr vrf(const std::string& name, const std::string& source = "cli") {
    sw().ipStatus->vrfIs(vrfNamed(name));
    return sw().source(source)->vrfIs(vrfNamed(name));
  }
  Firewall::Segment::Ptr segment(const std::string& vrfName, const std::string& name,
                                 const std::string& source = "cli") {
    return vrf(vrfName, source)->segmentIs(name);
  }
  Firewall::Segment::Ptr l2Segment(const std::string& name, const std::string& source = "cli") {
    return sw().source(source)->l2SegmentDirIs("l2")->segmentIs(name);
  }
  // The class map of that name holds the interfaces, without VLAN ranges.
  Firewall::ClassMapFirewall::Ptr classMap(const Pith::String& name,
                                           std::initializer_list<const char*> interfaces,
                                           const std::string& source = "cli") {
    auto map = sw().source(source)->classMapIs(name);
    for (const char* const intf : interfaces) map->intfVlanDataIs(intfNamed(intf));
    return map;
  }
  // The segment with its generated class map and the interfaces, which are routed in its VRF.
  Firewall::Segment::Ptr subscriber(const std::string& vrfName, const std::string& name,
                                    std::initializer_list<const char*> interfaces,
                                    const std::string& source = "cli") {
    for (const char* const intf : interfaces) sw().interface(intf, vrfName);
    const auto className = Firewall::vrfSegmentClassMap(vrfNamed(vrfName), name);
    classMap(className, interfaces, source);
    auto made = segment(vrfName, name, source);
    made->classNameIs(className);
    return made;
  }
  void policy(const std::string& name, const std::string& source = "cli") {
    sw().source(source)->policyIs(name);
  }

  Firewall::VrfSm::Ptr vrfSm(const std::string& name, const std::string& source = "cli") {
    return sw().rootSm(source)->vrfSm(name);
  }
  Firewall::SegmentSM::Ptr segmentSm(const std::string& vrfName, const std::string& name,
                                     const std::string& source = "cli") {
    return vrfSm(vrfName, source)->segmentSm(name);
  }
  Firewall::FwVrf::Ptr fwVrf(const std::string& name) { return sw().hwConfig->vrf(vrfNamed(name)); }
  Firewall::FwSegment::Ptr fwSegment(const std::string& vrfName, const std::string& name) {
    const auto found = fwVrf(vrfName);
    return found ? found->segment(name) : nullptr;
  }
  Firewall::FwSegment::Ptr l2FwSegment(const std::string& name) {
    const auto l2Seg = sw().hwConfig->l2Seg();
    return l2Seg ? l2Seg->segment(name) : nullptr;
  }
  // The interfaces of the output segment, in order.
  static std::vector<std::string> interfaces(const Firewall::FwSegment::Ptr& output) {
    std::vector<std::string> names;
    for (const auto& bound : output->intfVlanRangeSet())
      names.push_back(bound->intfId().toString());
    return names;
  }
  // The from-segments of the output segment, in order, each with its policy: "a=permit".
  static std::vector<std::string> links(const Firewall::FwSegment::Ptr& output) {
    std::vector<std::string> links;
    for (const auto& link : output->fromSegment()) {
      links.push_back(std::string(link.key.view()) + "=" +
                      std::string(link.value.policy->name().view()));
    }
    return links;
  }

  Firewall::Config::Ptr cli;
};

}  // namespace TestSupport
