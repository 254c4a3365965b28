#!/usr/bin/env bash
# Formatting, shell scripts, that each header compiles alone, then clang-tidy over all headers at once and
# over every source; the tests' are formatted alone.
#
#   tools/lint.sh [<build folder of the preset lint>]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/lint}
jobs=${JOBS:-$(nproc)}

# Two files break the rules on purpose: the tests of the house see that they are found out.
sources() { git ls-files -z -- "$@" ':!tests/house/must_fail_*'; }

sources '*.h' '*.cpp' | xargs -0 clang-format --dry-run -Werror
git ls-files -z -- '*.sh' .ci/run | xargs -0 shellcheck

cmake --preset lint -B "$build" >"$build.log" || { cat "$build.log" >&2; exit 1; }
cmake --build "$build" --parallel "$jobs" --target all_verify_interface_header_sets >"$build.log" ||
  { cat "$build.log" >&2; exit 1; }
headers=$build/all_headers.cpp
sources '*.h' ':!tests' | xargs -0 printf '#include "%s"\n' >"$headers"
{
  clang-tidy --quiet "$headers" -- -std=c++20 -I.
  # Largest first, so that the last ones to end are short.
  sources '*.cpp' ':!bench' ':!tests' | xargs -0 ls -S |
    xargs -P "$jobs" -n 1 clang-tidy --quiet -p "$build"
} 2>&1 | sed '/warnings\{0,1\} generated\.$/d'
echo "lint: clean"
