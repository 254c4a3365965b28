#include "tests/model/ModelTypes.h"

#include "framework/Kiv/Text.h"
#include "model/Acl/PrefixList.h"
#include "model/Classification/AppRecognition.h"
#include "model/Firewall/Config.h"
#include "model/Firewall/HwCapability.h"
#include "model/Firewall/HwConfig.h"
#include "model/Interface/AllIntfStatusDir.h"
#include "model/Ip/Status.h"
#include "model/MatchList/MatchList.h"

namespace ModelTest {
namespace {

template <class T>
TestSupport::Maker maker() {
  return {&T::staticTypeData(), []() -> Pith::Ptr<Kiv::Entity> {
            if constexpr (requires { typename T::Key; }) {
              return Kiv::make<T>(Kiv::strepToValue<typename T::Key>("name"));
            } else {
              return Kiv::make<T>();
            }
          }};
}

template <class... Types>
TestSupport::Makers makersOf() {
  return {maker<Types>()...};
}

}  // namespace

const TestSupport::Makers& makers() {
  static const auto makers = [] {
    using namespace Firewall;
    auto all = makersOf<Config, ClassMapFirewall, IntfVlanRangeSet, Firewall::Policy, Vrf,
                        SegmentDir, Segment, HwCapability, HwConfig, FwVrf, FwSegmentDir, FwSegment,
                        FwIntfVlanRangeSet, FwPolicy, FwService, Firewall::Status>();
    for (const auto& maker :
         makersOf<MatchList::Config, MatchList::MatchIpv4PrefixListConfig,
                  MatchList::MatchIpv6PrefixListConfig, Acl::AclListConfig, Acl::PrefixList,
                  Acl::Ipv6PrefixList, Ip::Status, Interface::AllIntfStatusDir,
                  Classification::AppConfig, Classification::AppRecognitionConfig,
                  Classification::AppRecognitionStatus, Classification::FieldSetConfig,
                  Classification::FieldSetL4PortConfig, Classification::FieldSetL4PortSubConfig,
                  Classification::FieldSetIpPrefixConfig,
                  Classification::FieldSetIpPrefixSubConfig>()) {
      all.push_back(maker);
    }
    return all;
  }();
  return makers;
}

}  // namespace ModelTest
