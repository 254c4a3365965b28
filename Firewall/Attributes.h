// What each reactor is given, in the order in which it is given: inputs, which it watches, as
// Pith::Ptr<const T>, outputs as Pith::Ptr<T>, its owner as a plain pointer. Arguments of creation
// functions, children and factories follow from these (framework/Kiv/Reactor.h, Factory.h).
#pragma once

#include "Firewall/ActiveWorkManager.h"
#include "framework/Kiv/Dir.h"
#include "framework/Kiv/Fields.h"
#include "framework/Pith/Ptr.h"
#include "framework/Pith/String.h"
#include "model/Acl/PrefixList.h"
#include "model/Classification/AppRecognition.h"
#include "model/Firewall/Config.h"
#include "model/Firewall/HwCapability.h"
#include "model/Firewall/HwConfig.h"
#include "model/Interface/AllIntfStatusDir.h"
#include "model/Ip/Status.h"
#include "model/MatchList/MatchList.h"

namespace Firewall {

class RootDirSm;
class RootSm;
class VrfSm;

struct RootDirSmAttributes {
  Pith::Ptr<const Kiv::Dir> fwConfigDir;
  Pith::Ptr<HwConfig> outFirewallConfig;
  Pith::Ptr<Status> firewallStatus;
  Pith::Ptr<const Interface::AllIntfStatusDir> intfStatusDir;
  Pith::Ptr<const Ip::Status> ipStatus;
  Pith::Ptr<const Kiv::Dir> matchListConfigDir;
  Pith::Ptr<const Classification::AppRecognitionConfig> appRecConfig;
  Pith::Ptr<const Classification::FieldSetConfig> fieldSetConfig;
  Pith::Ptr<Classification::AppRecognitionStatus> appRecStatus;
  Pith::Ptr<const HwCapability> hwCapability;
  Pith::Ptr<const Acl::AclListConfig> aclListConfig;
  KIV_FIELDS(fwConfigDir, outFirewallConfig, firewallStatus, intfStatusDir, ipStatus,
             matchListConfigDir, appRecConfig, fieldSetConfig, appRecStatus, hwCapability,
             aclListConfig)
};

struct RootFeatureEnableSmAttributes {
  Pith::String configSource;
  Pith::Ptr<const Kiv::Dir> fwConfigDir;
  Pith::Ptr<const Config> inConfig;
  Pith::Ptr<HwConfig> outFirewallConfig;
  Pith::Ptr<Status> firewallStatus;
  Pith::Ptr<const Interface::AllIntfStatusDir> intfStatusDir;
  Pith::Ptr<const Ip::Status> ipStatus;
  Pith::Ptr<const Kiv::Dir> matchListConfigDir;
  Pith::Ptr<const Classification::AppRecognitionConfig> appRecConfig;
  Pith::Ptr<const Classification::FieldSetConfig> fieldSetConfig;
  Pith::Ptr<Classification::AppRecognitionStatus> appRecStatus;
  Pith::Ptr<const HwCapability> hwCapability;
  RootDirSm* rootDirSm = nullptr;
  Pith::Ptr<const Acl::AclListConfig> aclListConfig;
  Pith::Ptr<ActiveWorkManager> activeWorkManager;
  KIV_FIELDS(configSource, fwConfigDir, inConfig, outFirewallConfig, firewallStatus, intfStatusDir,
             ipStatus, matchListConfigDir, appRecConfig, fieldSetConfig, appRecStatus, hwCapability,
             rootDirSm, aclListConfig, activeWorkManager)
};

struct RootSmAttributes {
  Pith::String configSource;
  Pith::Ptr<const Kiv::Dir> fwConfigDir;
  Pith::Ptr<const Config> inConfig;
  Pith::Ptr<HwConfig> outFirewallConfig;
  Pith::Ptr<Status> firewallStatus;
  Pith::Ptr<const Interface::AllIntfStatusDir> intfStatusDir;
  Pith::Ptr<const Ip::Status> ipStatus;
  Pith::Ptr<const Kiv::Dir> matchListConfigDir;
  Pith::Ptr<const Classification::AppRecognitionConfig> appRecConfig;
  Pith::Ptr<const Classification::FieldSetConfig> fieldSetConfig;
  Pith::Ptr<Classification::AppRecognitionStatus> appRecStatus;
  Pith::Ptr<const HwCapability> hwCapability;
  Pith::Ptr<const Acl::AclListConfig> aclListConfig;
  Pith::Ptr<ActiveWorkManager> activeWorkManager;
  KIV_FIELDS(configSource, fwConfigDir, inConfig, outFirewallConfig, firewallStatus, intfStatusDir,
             ipStatus, matchListConfigDir, appRecConfig, fieldSetConfig, appRecStatus, hwCapability,
             aclListConfig, activeWorkManager)
};

struct VrfSmAttributes {
  Pith::String vrfName;  // empty for the L2 segment directory
  Pith::Ptr<const Kiv::Dir> fwConfigDir;
  Pith::Ptr<const Vrf> vrfConfig;          // null for the L2 segment directory
  Pith::Ptr<const SegmentDir> inFirewall;  // null: no segments
  Pith::Ptr<const Config> inConfig;
  Pith::Ptr<HwConfig> outFirewallConfig;
  Pith::Ptr<const Interface::AllIntfStatusDir> intfStatusDir;
  Pith::Ptr<const Ip::Status> ipStatus;
  Pith::Ptr<const Kiv::Dir> matchListConfigDir;
  RootSm* rootSm = nullptr;
  Pith::Ptr<const HwCapability> hwCapability;
  Pith::Ptr<const Acl::AclListConfig> aclListConfig;
  Pith::Ptr<ActiveWorkManager> activeWorkManager;
  KIV_FIELDS(vrfName, fwConfigDir, vrfConfig, inFirewall, inConfig, outFirewallConfig,
             intfStatusDir, ipStatus, matchListConfigDir, rootSm, hwCapability, aclListConfig,
             activeWorkManager)
};

struct SegmentSMAttributes {
  Pith::String segmentName;
  Pith::String vrfName;  // empty for the L2 segment directory
  Pith::Ptr<const Kiv::Dir> fwConfigDir;
  Pith::Ptr<const Segment> inSegment;  // null: a segment of which nothing is configured
  Pith::Ptr<const Config> inConfig;
  Pith::Ptr<const SegmentDir> inFirewall;  // null: no other segment is configured
  Pith::Ptr<FwSegmentDir> fwVrfConfig;     // the output directory that the segment is in
  Pith::Ptr<HwConfig> outFirewallConfig;
  Pith::Ptr<const Interface::AllIntfStatusDir> intfStatusDir;
  Pith::Ptr<const Ip::Status> ipStatus;
  Pith::Ptr<const Kiv::Dir> matchListConfigDir;  // null: no paths, and so no subnets
  RootSm* rootSm = nullptr;
  Pith::Ptr<const HwCapability> hwCapability;
  VrfSm* vrfSm = nullptr;
  Pith::Ptr<const Acl::AclListConfig> aclListConfig;
  Pith::Ptr<ActiveWorkManager> activeWorkManager;
  KIV_FIELDS(segmentName, vrfName, fwConfigDir, inSegment, inConfig, inFirewall, fwVrfConfig,
             outFirewallConfig, intfStatusDir, ipStatus, matchListConfigDir, rootSm, hwCapability,
             vrfSm, aclListConfig, activeWorkManager)
};

struct MatchListConfigPathSmAttributes {
  Pith::String mlName;  // the path
  Pith::String mlSegmentName;
  Pith::Ptr<const Kiv::Dir> fwConfigDir;
  Pith::Ptr<FwVrf> fwVrf;  // null for the L2 segment directory, which has no VRF-wide list
  Pith::Ptr<const Kiv::Dir> matchListConfigDir;
  Pith::Ptr<const MatchList::Config> matchListConfig;
  Pith::Ptr<const Segment> inSegment;
  Pith::Ptr<FwSegment> fwSegment;
  Pith::Ptr<const HwCapability> hwCapability;
  Pith::Ptr<const Acl::AclListConfig> aclListConfig;
  Pith::Ptr<ActiveWorkManager> activeWorkManager;
  KIV_FIELDS(mlName, mlSegmentName, fwConfigDir, fwVrf, matchListConfigDir, matchListConfig,
             inSegment, fwSegment, hwCapability, aclListConfig, activeWorkManager)
};

}  // namespace Firewall
