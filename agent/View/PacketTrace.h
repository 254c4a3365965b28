// What the compiled tables do with a packet.
//
//   PacketTrace trace(*store.hwConfig);
//   const Verdict verdict = trace.of({.vrf = "default", .source = ..., .protocol = 6, ...}, out);
//
// As the hardware takes the tables:
//   1. Each end belongs to a segment: the source to the one that holds the interface it came in by,
//      when one is given and held; else, as the destination always, to the owner of the longest
//      prefix that contains the address, in the VRF-wide list or, where the hardware has none, in
//      the segments' own (of equal ones the first segment by name).
//   2. The destination's link from the source's segment names the policy, else its fallback policy.
//      Its rules are tried by sequence number and index, and the first that matches decides.
//   3. Where there is no segment, no policy or no match, the default decides.
// An interface with a VLAN is looked for in the L2 directory, and both ends belong to segments
// there.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>

#include "framework/Lanx/IpAddr.h"
#include "model/Firewall/HwConfig.h"

namespace Agent {

struct Packet {
  std::string vrf = "default";
  std::string interface;  // empty: not known
  std::optional<std::uint16_t> vlan;
  Lanx::IpGenAddr source;
  Lanx::IpGenAddr destination;
  std::uint8_t protocol = 0;
  std::uint16_t sourcePort = 0;
  std::uint16_t destinationPort = 0;
};

enum class Verdict { permit, drop };

class PacketTrace {
 public:
  explicit PacketTrace(const Firewall::HwConfig& hwConfig) : hwConfig_(hwConfig) {}

  // Writes each step and its reason to `out`.
  Verdict of(const Packet& packet, std::ostream& out) const;

 private:
  using Segment = Pith::Ptr<const Firewall::FwSegment>;

  Segment byInterface(const Firewall::FwSegmentDir& directory, const Packet& packet,
                      std::ostream& out) const;
  Segment byAddress(const Firewall::FwSegmentDir& directory, const Lanx::IpGenAddr& address,
                    std::string_view end, std::ostream& out) const;
  Verdict byDefault(std::ostream& out) const;
  Verdict byPolicy(const Firewall::FwPolicy& policy, const Packet& packet, std::ostream& out) const;

  const Firewall::HwConfig& hwConfig_;
};

}  // namespace Agent
