#include <sstream>

#include "agent/Command/Commands.h"
#include "agent/Document/Number.h"
#include "agent/Process/Candidate.h"
#include "agent/Process/ExitStatus.h"
#include "agent/Process/Output.h"
#include "agent/Schema/Values.h"
#include "agent/Store/Reconcile.h"
#include "agent/View/PacketTrace.h"
#include "framework/Pith/RangeException.h"

namespace Agent {
namespace {

// "INTF" or "INTF:VLAN"; what is wrong, or nothing.
std::string entryOf(const std::string& text, Packet& packet) {
  if (text.empty()) return {};
  const std::size_t colon = text.find(':');
  packet.interface = text.substr(0, colon);
  if (!packet.interface.empty()) {
    std::string wrong = wrongText(Kiv::valueDataOf<Lanx::IntfId>(), packet.interface);
    if (!wrong.empty()) return wrong;
  }
  if (colon == std::string::npos) return {};
  const std::string number = text.substr(colon + 1);
  std::uint16_t vlan = 0;
  if (!isNumber(number, vlan) || vlan < Bridging::VlanId::min || vlan > Bridging::VlanId::max) {
    return inQuotes(number) + " is not a VLAN of 1 to 4094";
  }
  packet.vlan = vlan;
  return {};
}

// What is wrong, or nothing.
std::string packetOf(const Arguments& given, Packet& packet) {
  packet.vrf = given.text("--vrf");
  std::string wrong = wrongText(Kiv::valueDataOf<L3::VrfName>(), packet.vrf);
  if (wrong.empty()) wrong = entryOf(given.text("--in"), packet);
  if (!wrong.empty()) return wrong;
  for (const auto& [text, address] : {std::pair(&given.text("SRC"), &packet.source),
                                      std::pair(&given.text("DST"), &packet.destination)}) {
    try {
      *address = Lanx::IpGenAddr::parse(*text);
    } catch (const Pith::RangeException&) {
      return inQuotes(*text) + " is not an address such as 192.0.2.1 or 2001:db8::1";
    }
  }
  if (packet.source.family() != packet.destination.family()) {
    return given.text("SRC") + " and " + given.text("DST") + " are addresses of two families";
  }
  const std::string& name = given.text("PROTO");
  const int protocol = protocolNumber(name);
  if (protocol >= 0) {
    packet.protocol = static_cast<std::uint8_t>(protocol);
  } else if (!isNumber(name, packet.protocol)) {
    return inQuotes(name) + " is not a protocol such as tcp, or its number 0 to 255";
  }
  for (const auto& [text, port] : {std::pair(&given.text("SPORT"), &packet.sourcePort),
                                   std::pair(&given.text("DPORT"), &packet.destinationPort)}) {
    if (!text->empty() && !isNumber(*text, *port)) return inQuotes(*text) + " is not a port";
  }
  if (Firewall::Protocol(packet.protocol).hasPorts() && given.text("DPORT").empty()) {
    return name + " wants a source port and a destination port";
  }
  return {};
}

int trace(const CommonOptions& options, const Arguments& given) {
  Packet packet;
  if (const std::string wrong = packetOf(given, packet); !wrong.empty())
    return fail(refused, wrong);
  Timing timing(options);
  int status = done;
  const auto document = loadChecked(given.texts("--file"), options, timing, status);
  if (!document) return status;
  Store store;
  apply(planOf(store, document->root), store);
  store.start();
  timing.step("compile");
  std::ostringstream text;
  const Verdict verdict = PacketTrace(*store.hwConfig).of(packet, text);
  timing.step("trace");
  if (const int written = writeOutput(text.str(), {}); written != done) return written;
  const std::string& expected = given.text("--expect");
  if (expected.empty()) return done;
  return (verdict == Verdict::permit) == (expected == "permit") ? done : answerIsNo;
}

}  // namespace

Command traceCommand() {
  return {.name = "trace",
          .summary = "what the compiled tables do with a packet",
          .example = "trace -f examples/campus --expect permit 10.10.1.2 10.100.0.5 tcp 40000 443",
          .options = {configurationOption(),
                      Option::of("--vrf", "VRF", "of both ends").otherwise("default"),
                      Option::of("--in", "INTF[:VLAN]", "where the packet comes in"),
                      Option::of("--expect", "permit|drop", "status 1 when it is the other"),
                      Option::argument("SRC", "an address").required(),
                      Option::argument("DST", "an address of the same family").required(),
                      Option::argument("PROTO", "a name such as tcp, or a number").required(),
                      Option::argument("SPORT", "of TCP and UDP"),
                      Option::argument("DPORT", "of TCP and UDP")},
          .run = trace};
}

}  // namespace Agent
