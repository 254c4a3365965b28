#!/bin/sh
# Installs a build into a scratch folder, moves it, and builds and runs the consumer against it: once
# with the CMake package, once with pkg-config.
#
#   consumer_test.sh <build folder> <C++ compiler>
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
libraries=$(pkg-config --variable=libdir KivFramework)
# shellcheck disable=SC2046  # each word is an option
"$compiler" -std=c++20 "$here/consumer/consumer.cpp" -o "$scratch/consumer" \
  $(pkg-config --cflags --libs KivFramework)
LD_LIBRARY_PATH=$libraries "$scratch/consumer"

echo "--- the agent"
"$prefix/bin/fwagent" check --strict "$here/../../examples/campus"
