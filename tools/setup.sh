#!/bin/sh
# Installs the Debian packages that are missing of the given sections of packages.txt.
#
#   tools/setup.sh build test
#
# Asks the package archive nothing when all of them are there.
set -eu

list=$(dirname "$0")/../packages.txt
missing=
for section in "$@"; do
  packages=$(sed -n "/^\[$section\]\$/,/^\[/p" "$list" | grep -v -e '^\[' -e '^#' -e '^$') || {
    echo "setup: packages.txt has no section $section" >&2
    exit 2
  }
  for package in $packages; do
    status=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) || status=absent
    [ "$status" = installed ] || missing="$missing $package"
  done
done
[ -n "$missing" ] || exit 0

echo "setup: installing$missing"
as_root=
[ "$(id -u)" -eq 0 ] || as_root=sudo
$as_root apt-get update -q
# shellcheck disable=SC2086  # each word is a package
$as_root env DEBIAN_FRONTEND=noninteractive apt-get install -q -y --no-install-recommends $missing
