#!/bin/sh
# Installs a build into a scratch folder, moves it, and builds and runs the consumer against it: with
# the CMake package, with pkg-config, and by the other compiler.
#
#   consumer_test.sh <build folder> <C++ compiler of the build>
set -eu
build=$1
compiler=$2
here=$(cd "$(dirname "$0")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cmake --install "$build" --prefix "$scratch/first" >/dev/null
mv "$scratch/first" "$scratch/moved"
prefix=$scratch/moved

echo "--- with find_package"
cmake -S "$here/consumer" -B "$scratch/cmake" -G Ninja -D CMAKE_PREFIX_PATH="$prefix" \
  -D CMAKE_CXX_COMPILER="$compiler" >/dev/null
cmake --build "$scratch/cmake"
"$scratch/cmake/consumer"

echo "--- with pkg-config"
PKG_CONFIG_PATH=$(find "$prefix" -type d -name pkgconfig)
export PKG_CONFIG_PATH
libraries=$(pkg-config --variable=libdir FirewallConfigSm)
consumer_by() {
  # shellcheck disable=SC2046  # each word is an option
  "$1" -std=c++20 "$here/consumer/consumer.cpp" -o "$scratch/consumer" \
    $(pkg-config --cflags --libs FirewallConfigSm)
  LD_LIBRARY_PATH=$libraries "$scratch/consumer"
}
consumer_by "$compiler"

case $("$compiler" --version) in
  *clang*) other=g++ ;;
  *) other=clang++ ;;
esac
echo "--- by $other"
if command -v "$other" >/dev/null; then
  consumer_by "$other"
else
  echo "$other is not installed: not tried here, but by .ci/run"
fi

# Libraries may be built without the programs.
[ -x "$prefix/bin/fwagent" ] || exit 0

echo "--- the agent"
tree=$here/../..
fwagent=$prefix/bin/fwagent
share=$prefix/share
"$fwagent" check --strict "$tree/examples/campus"
"$fwagent" compile "$tree/examples/campus" | cmp - "$tree/tests/agent/campus-80.txt"

echo "--- what the agent writes of itself"
for kind in man:man/man1/fwagent.1 schema:fwagent/fwagent.schema.json \
  bash:bash-completion/completions/fwagent zsh:zsh/site-functions/_fwagent \
  fish:fish/vendor_completions.d/fwagent.fish; do
  "$fwagent" generate "${kind%%:*}" | cmp - "$share/${kind#*:}"
done
complaints=$(groff -man -ww -z "$share/man/man1/fwagent.1" 2>&1)
[ -z "$complaints" ] || { echo "$complaints"; exit 1; }
"$tree/tools/configurations.py" -o "$scratch/services.json" services
[ "$(python3 "$tree/tests/agent/validate.py" "$share/fwagent/fwagent.schema.json" \
  "$scratch/services.json")" = ok ]
[ "$(bash -c '. "$1"; COMP_WORDS=(fwagent verif); COMP_CWORD=1; _fwagent; echo "${COMPREPLY[0]}"' \
  bash "$share/bash-completion/completions/fwagent")" = verify ]
zsh -n "$share/zsh/site-functions/_fwagent"
fish --no-execute "$share/fish/vendor_completions.d/fwagent.fish"
