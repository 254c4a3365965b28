#include "Firewall/Segments/ClassMapName.h"

#include <string>
#include <string_view>

#include "Firewall/Trace.h"
#include "framework/Pith/Assert.h"

namespace Firewall {
namespace {

constexpr std::string_view vrfMark = "__VRF_";
constexpr std::string_view segmentMark = "_segment_";
constexpr std::string_view l2Mark = "__segment_";

// What names the VRF, not yet known to be short enough.
std::string_view vrfTextOf(std::string_view cmapName) {
  const std::size_t mark = cmapName.find(vrfMark);
  PITH_ASSERT_TEXT(mark != std::string_view::npos,
                   "cmapName.find( \"__VRF_\" ) != std::string::npos");
  const std::size_t begin = mark + vrfMark.size();
  const std::size_t end = cmapName.find(segmentMark, begin);
  PITH_ASSERT_TEXT(end != std::string_view::npos,
                   "cmapName.find( \"_segment_\" ) != std::string::npos");
  return cmapName.substr(begin, end - begin);
}

}  // namespace

Pith::String vrfSegmentClassMap(const L3::VrfName& vrf, const Pith::String& segment) {
  return std::string(vrfMark).append(vrf.view()).append(segmentMark).append(segment.view());
}

Pith::String l2SegmentClassMap(const Pith::String& segment) {
  return std::string(l2Mark).append(segment.view());
}

bool isL2ClassMap(const Pith::String& className) noexcept {
  return className.view().starts_with(l2Mark);
}

L3::VrfName vrfNameOf(const Pith::String& className) { return vrfTextOf(className.view()); }

bool doCheckIntfInVrf(const Pith::String& cmapName, const Lanx::IntfId& intf,
                      const Pith::Ptr<const Ip::Status>& ipStatus) {
  static constexpr Twinlog::Function fn(
      "bool Firewall::doCheckIntfInVrf(String, Lanx::IntfId, Ptr<const Ip::Status>)");
  if (cmapName.view().find(vrfMark) == std::string_view::npos) {
    PITH_ASSERT_TEXT(cmapName.view().find(l2Mark) != std::string_view::npos,
                     "cmapName.find( \"__segment_\" ) != std::string::npos");
    return true;
  }
  const L3::VrfName* const routedIn = ipStatus->ipIntfStatus(intf);
  if (routedIn == nullptr) {
    TWINLOG(facility, 3, fn, "Interface %s is not a L3 interface", intf);
    return false;
  }
  if (routedIn->view() == vrfTextOf(cmapName.view())) {
    TWINLOG(facility, 3, fn, "Interface %s is in configured VRF %s", intf, *routedIn);
    return true;
  }
  const L3::VrfName vrf = vrfNameOf(cmapName);
  TWINLOG(facility, 3, fn, "Interface %s is not in configured VRF %s but in %s", intf, vrf,
          *routedIn);
  return false;
}

}  // namespace Firewall
