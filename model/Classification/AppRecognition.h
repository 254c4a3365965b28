// Application recognition: what an application is (protocols, and by name the sets of its ports and
// prefixes), those sets, and the version of each application profile.
//
// The ranges here hold whatever was published, a start above the end too: it is the compiled
// service that refuses it.
#pragma once

#include <algorithm>
#include <compare>
#include <cstdint>
#include <string>
#include <string_view>

#include "framework/Kiv/Entity.h"
#include "framework/Lanx/Prefix.h"
#include "framework/Pith/String.h"
#include "model/Classification/AddressFamily.h"

namespace Classification {

// From `start` to `end`, both included, as it was given. In text "80-443", or "80" for one value.
template <class Number>
struct PublishedRange {
  Number start = 0;
  Number end = 0;

  friend auto operator<=>(const PublishedRange&, const PublishedRange&) = default;
  std::uint64_t hash() const noexcept {
    return Pith::hashOf(static_cast<std::uint32_t>(start) << 16U | end);
  }
  void appendTo(std::string& out) const {
    Kiv::appendText(out, start);
    if (start == end) return;
    out.push_back('-');
    Kiv::appendText(out, end);
  }
  static PublishedRange parse(std::string_view text) {
    const std::size_t dash = std::min(text.find('-'), text.size());
    const auto start = Kiv::strepToValue<Number>(text.substr(0, dash));
    return {start, dash == text.size() ? start : Kiv::strepToValue<Number>(text.substr(dash + 1))};
  }
};
using PortRange = PublishedRange<std::uint16_t>;
using ProtocolRange = PublishedRange<std::uint8_t>;

class PITH_EXPORT AppConfig : public Kiv::Entity {
  KIV_ENTITY(AppConfig, Kiv::Entity)
  KIV_KEY(AppConfig, Pith::String, name)
  KIV_VALUE(AddressFamily, af)
  KIV_SET(ProtocolRange, proto)
  KIV_VALUE(Pith::String, dstPortFieldSet)  // empty: none
  KIV_VALUE(Pith::String, srcPortFieldSet)
  KIV_VALUE(Pith::String, dstPrefixFieldSet)
  KIV_VALUE(Pith::String, srcPrefixFieldSet)
};

class PITH_EXPORT AppRecognitionConfig : public Kiv::Entity {
  KIV_ENTITY(AppRecognitionConfig, Kiv::Entity)
  KIV_ORDERED_CHILDREN(Pith::String, AppConfig, app)
};

class PITH_EXPORT AppRecognitionStatus : public Kiv::Entity {
  KIV_ENTITY(AppRecognitionStatus, Kiv::Entity)
  KIV_MAP(Pith::String, std::uint32_t, versionForAppProfile)  // 0: gone
};

class PITH_EXPORT FieldSetL4PortSubConfig : public Kiv::Entity {
  KIV_ENTITY(FieldSetL4PortSubConfig, Kiv::Entity)
  KIV_KEY(FieldSetL4PortSubConfig, Pith::String, name)
  KIV_SET(PortRange, ports)
};

class PITH_EXPORT FieldSetL4PortConfig : public Kiv::Entity {
  KIV_ENTITY(FieldSetL4PortConfig, Kiv::Entity)
  KIV_KEY(FieldSetL4PortConfig, Pith::String, name)
  KIV_CHILD(FieldSetL4PortSubConfig, subConfig)
};

class PITH_EXPORT FieldSetIpPrefixSubConfig : public Kiv::Entity {
  KIV_ENTITY(FieldSetIpPrefixSubConfig, Kiv::Entity)
  KIV_KEY(FieldSetIpPrefixSubConfig, Pith::String, name)
  KIV_SET(Lanx::IpGenPrefix, prefixes)
};

class PITH_EXPORT FieldSetIpPrefixConfig : public Kiv::Entity {
  KIV_ENTITY(FieldSetIpPrefixConfig, Kiv::Entity)
  KIV_KEY(FieldSetIpPrefixConfig, Pith::String, name)
  KIV_CHILD(FieldSetIpPrefixSubConfig, subConfig)
};

class PITH_EXPORT FieldSetConfig : public Kiv::Entity {
  KIV_ENTITY(FieldSetConfig, Kiv::Entity)
  KIV_CHILDREN(Pith::String, FieldSetL4PortConfig, fieldSetL4Port)
  KIV_CHILDREN(Pith::String, FieldSetIpPrefixConfig, fieldSetIpPrefix)
};

}  // namespace Classification
