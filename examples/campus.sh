#!/bin/sh
# Shows fwagent on the campus of examples/campus: its tables, a change and what that writes to the
# hardware, and packets before and after it.
#
#   examples/campus.sh <fwagent> <a folder to write to>
set -eu
fwagent=$1
folder=$2/campus
here=$(dirname "$0")

say() { printf '\n\n==> %s\n' "$1"; }
run() {
  printf '\n$ fwagent %s\n' "$*"
  "$fwagent" "$@"
}

rm -rf "$folder"
mkdir -p "$folder/before" "$folder/after"
cd "$here/.."
cp examples/campus/*.yaml "$folder/before"
# The names of this machine's /etc/services, as applications beside the campus's own.
tools/configurations.py -o "$folder/before/services.json" services
cp "$folder"/before/* "$folder/after"
sed 's/^          20: {service: mail, action: forward}$/&\n          25: {service: ssh, action: forward}/' \
  examples/campus/firewall.yaml >"$folder/after/firewall.yaml"
cd "$folder"

say "The campus, compiled. Look at VRF default: \"servers\" takes traffic from three segments, each
    by a policy, and one network amid the students' belongs to the administrators."
run compile before

say "The operator adds a rule: the servers may be reached by ssh. What does that write? One hardware
    rule; nothing that stays is touched."
run diff before after

say "May a student reach a server by ssh? Not before: rule 1000 drops, and logs it."
run trace -f before --expect drop 10.20.1.2 10.100.0.5 tcp 40000 22

say "And after: the new rule 25 permits it."
run trace -f after --expect permit 10.20.1.2 10.100.0.5 tcp 40000 22

say "Where does that rule come from? From a line of the operator's file, and one of this machine's
    /etc/services."
run explain -f after rule to-servers 25
