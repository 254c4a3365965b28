#!/usr/bin/env python3
"""Writes configurations for fwagent, as JSON on standard output or into a file.

  tools/configurations.py services                the machine's /etc/services and /etc/protocols
                                                  as applications
  tools/configurations.py synthetic [--prefixes N] [--services N] [--rules N]
                                                  of that size, each rule 20 hardware rules
  tools/configurations.py real DATA               the data of real networks in the folder DATA: lists
                                                  as match lists, an address plan's realms as VRFs
                                                  and its networks as segments, services as
                                                  applications, access lists as policies
  tools/configurations.py routes DATA             a full routing table of DATA as the match lists of
                                                  one segment

What the model cannot say is left out, and counted on standard error: addresses with masks that are
no prefix lengths, and what is no TCP, UDP, ICMP or IP.
"""

import argparse
import collections
import csv
import ipaddress
import json
import pathlib
import re
import sys

RULES_OF_POLICY = 1024  # sequence numbers 0 to 1023


def field_set(ports):
    return {"ports": sorted(ports, key=lambda port: int(port.split("-")[0]))}


class Configuration:
    """A document, with applications that are made once for each thing that they match."""

    def __init__(self, indent=1):
        self.indent = indent  # None: all in one line, which is much faster
        self.parts = collections.defaultdict(dict)
        self.left_out = collections.Counter()

    def application(self, name, protocols, ports=(), source=None, destination=None):
        app = {"proto": list(protocols)}
        if ports and set(protocols) & {"tcp", "udp", 6, 17}:  # no others carry any
            self.parts["fieldSetL4Port"][name] = field_set(ports)
            app["dstPortFieldSet"] = name
        for field, prefix in (("srcPrefixFieldSet", source), ("dstPrefixFieldSet", destination)):
            if prefix is not None:
                key = prefix.replace("/", "_")
                self.parts["fieldSetIpPrefix"][key] = {"prefixes": [prefix]}
                app[field] = key
        self.parts["app"][name] = app
        return name

    def write(self, out):
        out.write(json.dumps(self.parts, indent=self.indent) + "\n")
        for what, count in sorted(self.left_out.items()):
            print(f"left out: {count} {what}", file=sys.stderr)


def services(_options):
    """Each name of /etc/services, with its protocols and ports."""
    config = Configuration()
    numbers = {}
    for line in pathlib.Path("/etc/protocols").read_text(encoding="utf-8").splitlines():
        words = line.split("#")[0].split()
        if len(words) >= 2:
            numbers[words[0]] = int(words[1])
    ports = collections.defaultdict(lambda: collections.defaultdict(set))
    for line in pathlib.Path("/etc/services").read_text(encoding="utf-8").splitlines():
        words = line.split("#")[0].split()
        if len(words) >= 2:
            port, protocol = words[1].split("/")
            ports[words[0]][protocol].add(port)
    for name, by_protocol in ports.items():
        protocols = sorted(numbers[each] for each in by_protocol if each in numbers)
        # TCP and UDP alone carry ports; a name has the ports of both for each.
        config.application(name, protocols, set().union(*by_protocol.values()))
    return config


def synthetic(options):
    config = Configuration()
    for number in range(options.services):
        ports = [str(20 * number % 60000 + each * 2) for each in range(20)]
        config.application(f"service-{number}", ["tcp"], ports)
    segments = 100
    lists = [[] for _ in range(segments)]
    for number in range(options.prefixes):
        lists[number % segments].append(str(ipaddress.ip_network((0x0A000000 + number * 256, 24))))
    config.parts["matchIpv4PrefixList"] = {
        f"list-{number}": {"subnets": subnets} for number, subnets in enumerate(lists)}
    policies = {}
    for number in range(options.rules):
        policy = policies.setdefault(f"policy-{number // 1000}", {"rule": {}})
        policy["rule"][str(number % 1000)] = {
            "service": f"service-{number % options.services}",
            "action": "forward" if number % 3 else "drop"}
    names = list(policies)
    config.parts["source"] = {"cli": {
        "enabled": True, "policy": policies,
        "vrf": {"default": {"segment": {
            f"segment-{number}": {
                "prefixIpv4Ml": f"matchList:list-{number}",
                "policy": {f"segment-{(number + 1) % segments}": names[number % len(names)]}}
            for number in range(segments)}}}}}
    config.parts["switch"] = {"hwCapability": {"globalPrefixListSupported": True}}
    return config


def prefix_of(config, address):
    """The prefix of "address/length" or "address&mask"; None where there is none."""
    if "&" in address:
        config.left_out["addresses whose mask is no prefix length"] += 1
        return False
    network = ipaddress.ip_network(address, strict=False)
    return None if network.prefixlen == 0 else str(network)


def real_lists(config, folder):
    for path in sorted((folder / "matchlists").glob("*.txt")):
        networks = [line.strip() for line in path.read_text().splitlines() if line.strip()]
        for part, is_ours in (("matchIpv4PrefixList", lambda text: ":" not in text),
                              ("matchIpv6PrefixList", lambda text: ":" in text)):
            ours = [text for text in networks if is_ours(text)]
            if ours:
                config.parts[part][path.stem] = {"subnets": ours}


def real_services(config, folder):
    protocols = collections.defaultdict(set)
    ports = collections.defaultdict(set)
    with open(folder / "services" / "iana_services.csv", encoding="utf-8") as rows:
        for row in csv.DictReader(rows):
            protocols[row["name"]].add(row["proto"])
            ports[row["name"]].update(row["ports"].split("|"))
    for name, of_name in protocols.items():
        known = sorted(of_name & {"tcp", "udp", "sctp", "dccp"})
        config.application(f"iana {name}", known, ports[name])


def real_policies(config, folder):
    """A policy for each access list; one that is longer than sequence numbers reach is split."""
    numbers = {"ip": "0-255", "tcp": "tcp", "udp": "udp", "icmp": "icmp"}
    policies = {}
    with open(folder / "rules" / "stanford_acl_rules.csv", encoding="utf-8") as rows:
        for row in csv.DictReader(rows):
            source, destination = prefix_of(config, row["src"]), prefix_of(config, row["dst"])
            if source is False or destination is False or row["proto"] not in numbers:
                continue
            seqnum = int(row["seq"])
            name = f"{row['device']} {row['acl']}"
            if seqnum >= RULES_OF_POLICY:
                name += f" part {seqnum // RULES_OF_POLICY + 1}"
            ports = row["dst_ports"].split("|") if row["dst_ports"] else []
            app = " ".join(["acl", row["proto"], source or "any", destination or "any", *ports])
            if app not in config.parts["app"]:
                config.application(app, [numbers[row["proto"]]], ports, source, destination)
            policies.setdefault(name, {"rule": {}})["rule"][str(seqnum % RULES_OF_POLICY)] = {
                "service": app, "action": "forward" if row["action"] == "permit" else "drop"}
    return policies


def real_segments(config, folder, policies):
    """The address plan: each network a segment of its realm, judged by one of the policies."""
    vrfs = collections.defaultdict(lambda: {"segment": {}})
    names = sorted(policies)
    with open(folder / "inventory" / "wikimedia_segments.csv", encoding="utf-8") as rows:
        for number, row in enumerate(csv.DictReader(rows)):
            name = f"{row['vlan_name']} {row['site']}"
            segment = {"fallbackPolicy": names[number % len(names)]}
            for field, part, kind in (("ipv4", "matchIpv4PrefixList", "prefixIpv4Ml"),
                                      ("ipv6", "matchIpv6PrefixList", "prefixIpv6Ml")):
                if row[field]:
                    config.parts[part][f"plan {name}"] = {
                        "subnets": [str(ipaddress.ip_network(row[field], strict=False))]}
                    segment[kind] = f"matchList:plan {name}"
            vrfs[row["realm"]]["segment"][name] = segment
    for vrf in vrfs.values():
        segments = list(vrf["segment"])
        for number, name in enumerate(segments):
            vrf["segment"][name]["policy"] = {
                segments[(number + 1) % len(segments)]: names[number % len(names)]}
    # The lists of whole countries and clouds, and the routing table's length of them, meet here.
    vrfs["internet"] = {"segment": {
        re.sub(r"[^a-z0-9_]", "-", name): {"prefixIpv4Ml": f"matchList:{name}"}
        for name in config.parts["matchIpv4PrefixList"]
        if name.startswith(("country_", "cloud_", "blocklist_"))}}
    return vrfs


def real_interfaces(folder):
    with open(folder / "inventory" / "stanford_interfaces.csv", encoding="utf-8") as rows:
        return sorted({f"{row['device']}/{row['interface']}" for row in csv.DictReader(rows)})


def real(options):
    config = Configuration()
    folder = pathlib.Path(options.data)
    real_lists(config, folder)
    real_services(config, folder)
    policies = real_policies(config, folder)
    vrfs = real_segments(config, folder, policies)
    config.parts["source"] = {"operator": {"enabled": True, "policy": policies, "vrf": vrfs}}
    config.parts["switch"] = {
        "vrf": sorted(vrfs), "intfStatus": real_interfaces(folder),
        "hwCapability": {"globalPrefixListSupported": True}}
    return config


def routes(options):
    """Everything that is routed is the segment "internet", and one network the segment "inside"."""
    config = Configuration(indent=None)
    internet = {"policy": {"inside": "out"}}
    for family in ("4", "6"):
        path = pathlib.Path(options.data) / "prefixes" / f"bgp_full_v{family}.txt"
        config.parts[f"matchIpv{family}PrefixList"]["routes"] = {
            "subnets": path.read_text(encoding="ascii").split()}
        internet[f"prefixIpv{family}Ml"] = "matchList:routes"
    config.parts["matchIpv4PrefixList"]["inside"] = {"subnets": ["10.0.0.0/8"]}
    config.application("web", ["tcp"], ["80", "443"])
    config.parts["source"] = {"operator": {
        "enabled": True,
        "policy": {"out": {"rule": {"10": {"service": "web", "action": "drop"}}}},
        "vrf": {"default": {"segment": {
            "internet": internet, "inside": {"prefixIpv4Ml": "matchList:inside"}}}}}}
    config.parts["switch"] = {"hwCapability": {"globalPrefixListSupported": True}}
    return config


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("-o", "--output", type=argparse.FileType("w", encoding="utf-8"),
                        default=sys.stdout)
    kinds = parser.add_subparsers(required=True)
    kinds.add_parser("services").set_defaults(make=services)
    of_size = kinds.add_parser("synthetic")
    of_size.set_defaults(make=synthetic)
    of_size.add_argument("--prefixes", type=int, default=100000)
    of_size.add_argument("--services", type=int, default=1000)
    of_size.add_argument("--rules", type=int, default=10000)
    for name, make in (("real", real), ("routes", routes)):
        of_data = kinds.add_parser(name)
        of_data.set_defaults(make=make)
        of_data.add_argument("data")
    options = parser.parse_args()
    options.make(options).write(options.output)


if __name__ == "__main__":
    main()
