#include <charconv>
#include <sstream>

#include "agent/Command/Commands.h"
#include "agent/Schema/Values.h"
#include "agent/Store/Reconcile.h"
#include "agent/View/PacketTrace.h"
#include "framework/Pith/RangeException.h"

namespace Agent {
namespace {

template <class Number>
bool isNumber(std::string_view text, Number& number) {
  const auto [stop, failed] = std::from_chars(text.data(), text.data() + text.size(), number);
  return failed == std::errc() && stop == text.data() + text.size() && !text.empty();
}

// What is wrong, or nothing.
std::string packetOf(const TracedPacket& given, Packet& packet) {
  std::string canonical;
  if (!canonicalText(Kiv::valueDataOf<L3::VrfName>(), given.vrf, canonical)) {
    return inQuotes(given.vrf) + " is not " + wantedText(Kiv::valueDataOf<L3::VrfName>());
  }
  packet.vrf = given.vrf;
  const std::size_t colon = given.in.find(':');
  packet.interface = given.in.substr(0, colon);
  if (!packet.interface.empty() &&
      !canonicalText(Kiv::valueDataOf<Lanx::IntfId>(), packet.interface, canonical)) {
    return inQuotes(packet.interface) + " is not " + wantedText(Kiv::valueDataOf<Lanx::IntfId>());
  }
  if (colon != std::string::npos) {
    std::uint16_t vlan = 0;
    if (!isNumber(given.in.substr(colon + 1), vlan) || vlan < Bridging::VlanId::min ||
        vlan > Bridging::VlanId::max) {
      return inQuotes(given.in.substr(colon + 1)) + " is not a VLAN of 1 to 4094";
    }
    packet.vlan = vlan;
  }
  for (const auto& [text, address] : {std::pair(&given.source, &packet.source),
                                      std::pair(&given.destination, &packet.destination)}) {
    try {
      *address = Lanx::IpGenAddr::parse(*text);
    } catch (const Pith::RangeException&) {
      return inQuotes(*text) + " is not an address such as 192.0.2.1 or 2001:db8::1";
    }
  }
  if (packet.source.family() != packet.destination.family()) {
    return given.source + " and " + given.destination + " are addresses of two families";
  }
  const int protocol = protocolNumber(given.protocol);
  if (protocol >= 0) {
    packet.protocol = static_cast<std::uint8_t>(protocol);
  } else if (!isNumber(given.protocol, packet.protocol)) {
    return inQuotes(given.protocol) + " is not a protocol such as tcp, or its number 0 to 255";
  }
  for (const auto& [text, port] : {std::pair(&given.sourcePort, &packet.sourcePort),
                                   std::pair(&given.destinationPort, &packet.destinationPort)}) {
    if (!text->empty() && !isNumber(*text, *port)) return inQuotes(*text) + " is not a port";
  }
  if (Firewall::Protocol(packet.protocol).hasPorts() && given.destinationPort.empty()) {
    return given.protocol + " wants a source port and a destination port";
  }
  return {};
}

}  // namespace

int traceCommand(const CommonOptions& options, const Files& files, const TracedPacket& given) {
  Packet packet;
  if (const std::string wrong = packetOf(given, packet); !wrong.empty())
    return fail(refused, wrong);
  Timing timing(options);
  int status = done;
  const auto document = loadChecked(files, options, timing, status);
  if (!document) return status;
  Store store;
  apply(planOf(store, document->root), store);
  store.start();
  timing.step("compile");
  std::ostringstream text;
  const Verdict verdict = PacketTrace(*store.hwConfig).of(packet, text);
  timing.step("trace");
  if (const int written = writeOutput(text.str(), {}); written != done) return written;
  if (given.expect.empty()) return done;
  return (verdict == Verdict::permit) == (given.expect == "permit") ? done : answerIsNo;
}

}  // namespace Agent
