// The main reactor of one enabled configuration source.
//
// It watches the source's Firewall::Config, the IP status, the versions of the application profiles
// and the compiled services, and owns the reactors below: one for each usable VRF and one for the
// L2 directory, which keep the segments, and a small one for each policy, service and class map,
// which call back into the handlers here. It decides which of them are there, and the global
// switches; the other handlers are those of its parts:
//
//   RuleWriter            writes hardware rules, and takes them away
//   PolicyCompiler        policies
//   ServiceCompiler       services, whose change compiles the rules that name them anew
//   ApplicationCompiler   application profiles, which become services
//   ClassMapBinder        class maps: interfaces and VLAN ranges
//
// Before handleInitialized() has begun, and once cleanup() has, handlers do nothing.
#pragma once

#include <cstdint>
#include <utility>

#include "Firewall/Attributes.h"
#include "Firewall/Rules/ApplicationCompiler.h"
#include "Firewall/Rules/PolicyCompiler.h"
#include "Firewall/Rules/RuleWriter.h"
#include "Firewall/Rules/ServiceCompiler.h"
#include "Firewall/Segments/ClassMapBinder.h"
#include "Firewall/Segments/VrfSm.h"
#include "Firewall/Stage.h"
#include "framework/Kiv/Factory.h"
#include "framework/Kiv/Reactor.h"
#include "framework/Lanx/IntfId.h"
#include "framework/Lanx/Prefix.h"
#include "framework/Pith/Export.h"
#include "framework/Pith/Ptr.h"
#include "framework/Pith/String.h"
#include "model/L3/VrfName.h"

namespace Firewall {

class PITH_EXPORT RootSm final : public Kiv::Reactor<RootSm, RootSmAttributes> {
 public:
  class PolicySm;
  class ServiceSm;
  class ClassMapSm;

  // Watches the rules of one policy.
  class PITH_EXPORT PolicySm final : public Kiv::NestedReactor<PolicySm, RootSm, Policy> {
    KIV_NESTED_REACTOR(PolicySm, RootSm)
    void handleNotifier();
    void onAttribute(Pith::FieldId field, const void* key, const Pith::Change* change);
  };

  // Watches the version of one compiled service.
  class PITH_EXPORT ServiceSm final : public Kiv::NestedReactor<ServiceSm, RootSm, FwService> {
    KIV_NESTED_REACTOR(ServiceSm, RootSm)
    void handleNotifier();
    void onAttribute(Pith::FieldId field, const void* key, const Pith::Change* change);
    void kiv_handleService_version();
  };

  // Watches the interfaces of one class map, and below it the VLAN ranges of each interface.
  class PITH_EXPORT ClassMapSm final
      : public Kiv::NestedReactor<ClassMapSm, RootSm, ClassMapFirewall> {
   public:
    class PITH_EXPORT NestedSm_IntfVlanData final
        : public Kiv::NestedReactor<NestedSm_IntfVlanData, ClassMapSm, IntfVlanRangeSet> {
      KIV_NESTED_REACTOR(NestedSm_IntfVlanData, ClassMapSm)
      void handleNotifier() {}
      void onAttribute(Pith::FieldId field, const void* key, const Pith::Change* change);
      void kiv_handleIntfVlanData_vlanRange(const VlanRange& range);
    };

    KIV_NESTED_REACTOR(ClassMapSm, RootSm)
    KIV_CHILD_REACTORS(NestedSm_IntfVlanData, intfVlanData, IntfVlanDataKeyFunktor, Lanx::IntfId)

    Pith::Ptr<NestedSm_IntfVlanData> intfVlanDataIs(const Pith::Ptr<const IntfVlanRangeSet>& data);
    RootSm& rootSm() const noexcept { return owner(); }

    void start(const Pith::Ptr<const ClassMapFirewall>& classMap);
    void handleNotifier();
    void onAttribute(Pith::FieldId field, const void* key, const Pith::Change* change);

   private:
    // The reactor of an interface comes and goes with its entry.
    void follow(const Lanx::IntfId& intf);
  };

  KIV_REACTOR(RootSm)
  KIV_CHILD_REACTORS(VrfSm, vrfSm, VrfSmKeyFunktor, Pith::String)
  KIV_CHILD_REACTOR(VrfSm, l2SegDirSm)
  KIV_CHILD_REACTORS(PolicySm, policy, PolicyKeyFunktor, Pith::String)
  KIV_CHILD_REACTORS(ServiceSm, service, ServiceKeyFunktor, Pith::String)
  KIV_CHILD_REACTORS(ClassMapSm, classMap, ClassMapKeyFunktor, Pith::String)

  // The arguments of VrfSm in order.
  template <class... Args>
  Pith::Ptr<VrfSm> vrfSmIs(const Pith::String& name, Args&&... args) {
    return vrfSm_.is(name, VrfSmAttributes{name, std::forward<Args>(args)...});
  }
  template <class... Args>
  Pith::Ptr<VrfSm> l2SegDirSmIs(Args&&... args) {
    auto child = l2SegDirSm_.is(VrfSmAttributes{std::forward<Args>(args)...});
    child->hasNotificationActiveIs(true);
    return child;
  }
  Pith::Ptr<PolicySm> policyIs(const Pith::Ptr<const Policy>& input);
  Pith::Ptr<ServiceSm> serviceIs(const Pith::Ptr<const FwService>& input);
  Pith::Ptr<ClassMapSm> classMapIs(const Pith::Ptr<const ClassMapFirewall>& input);

  bool initialized() const noexcept { return stage_.initialized(); }
  // From handleInitialized() to cleanup(); otherwise handlers do nothing.
  bool isWorking() const noexcept { return stage_.isWorking(); }

  void inConfigDispatch(Pith::Publisher* publisher, Pith::Subscriber* subscriber,
                        Pith::FieldId field, const void* key, const Pith::Change* change);
  void ipStatusDispatch(Pith::Publisher* publisher, Pith::Subscriber* subscriber,
                        Pith::FieldId field, const void* key, const Pith::Change* change);
  void outFirewallConfigDispatch(Pith::Publisher* publisher, Pith::Subscriber* subscriber,
                                 Pith::FieldId field, const void* key, const Pith::Change* change);
  void appRecStatusDispatch(Pith::Publisher* publisher, Pith::Subscriber* subscriber,
                            Pith::FieldId field, const void* key, const Pith::Change* change);

  void handleInitialized();
  void handleDefaultPolicyDrop();
  void handleForwardingType();
  void handleVrfConfig();
  // RangeException when the name is too long for a VRF.
  void handleVrfConfig(const Pith::String& name);
  void handleVrf(const L3::VrfName& name);
  void handleL2Config();
  // Takes the VRFs and the L2 directory down. A second time it changes nothing.
  void cleanup();

  // RuleWriter.
  bool addPolicyRule(const Pith::Ptr<const Policy>& inPolicy, std::uint32_t seqnum,
                     const Lanx::IpGenPrefix& sip, const Lanx::IpGenPrefix& dip,
                     Protocol::Optional protocol, PortRange dstPort, PortRange srcPort);
  void addServicePolicyRules(const Pith::Ptr<const FwService>& fwService,
                             const Pith::Ptr<const Policy>& inPolicy, std::uint32_t seqnum);
  void deletePolicyRules(const Pith::Ptr<const Policy>& inPolicy, std::uint32_t seqnum);

  // PolicyCompiler.
  void handlePolicy();
  void handlePolicy(const Pith::String& name);
  void handlePolicyRules(const Pith::Ptr<const Policy>& inPolicy);
  void handlePolicyRule(const Pith::Ptr<const Policy>& inPolicy, std::uint32_t seqnum);
  void addPolicyRulesAll(const Pith::Ptr<const Policy>& inPolicy, std::uint32_t seqnum);

  // ServiceCompiler.
  void handleService(const Pith::String& name);
  void handleServiceChange(const Pith::Ptr<const FwService>& fwService);
  void deleteServicePolicyRules(const Pith::String& name);
  bool hasRules(const Pith::Ptr<const FwService>& fwService) const;

  // ApplicationCompiler.
  void handleVersionForAppProfile(const Pith::String& name);

  // ClassMapBinder.
  void handleClassMap();
  void handleClassMap(const Pith::String& name);
  void handleClassMapIntfs(const Pith::Ptr<const ClassMapFirewall>& inClassMap);
  void handleClassMapIntf(const Pith::Ptr<const ClassMapFirewall>& inClassMap, Lanx::IntfId intf);
  void addIntfSegmentAll(const Pith::String& className, Lanx::IntfId intf);
  void deleteIntfSegmentAll(const Pith::String& className, Lanx::IntfId intf);
  void handleIntfVlan(const Pith::Ptr<const ClassMapFirewall>& inClassMap,
                      const Pith::Ptr<const IntfVlanRangeSet>& intfVlanData, VlanRange range);
  void updateVlanSet(const Pith::Ptr<FwSegment>& fwSegment,
                     const Pith::Ptr<const IntfVlanRangeSet>& intfVlanData);

 private:
  explicit RootSm(RootSmAttributes attributes);
  void start();

  Kiv::Subscription<&RootSm::inConfigDispatch> inConfigSubscription_;
  Kiv::Subscription<&RootSm::ipStatusDispatch> ipStatusSubscription_;
  Kiv::Subscription<&RootSm::outFirewallConfigDispatch> outFirewallConfigSubscription_;
  Kiv::Subscription<&RootSm::appRecStatusDispatch> appRecStatusSubscription_;
  Stage stage_;
  RuleWriter rules_;
  PolicyCompiler policies_;
  ServiceCompiler services_;
  ApplicationCompiler applications_;
  ClassMapBinder classMaps_;
};

KIV_FACTORY(RootSm, rootSmFactory)

}  // namespace Firewall
