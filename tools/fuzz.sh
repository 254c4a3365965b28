#!/usr/bin/env bash
# Runs each fuzz program of build/fuzz for a number of seconds, one after the other. What they find on the
# way is kept in build/fuzz/fuzz/corpus; an input that crashes one is left in build/fuzz/fuzz.
#
#   tools/fuzz.sh 3600            # all of them
#   tools/fuzz.sh 3600 changes    # one
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=$1
shift
corpus=$PWD/tests/fuzz/corpus
cd build/fuzz/fuzz
names=("$@")
if ((${#names[@]} == 0)); then
  for program in fuzz_*; do
    [ -x "$program" ] && [ -f "$program" ] && names+=("${program#fuzz_}")
  done
fi
failed=0
for name in "${names[@]}"; do
  mkdir -p "corpus/$name"
  first=()
  [ -d "$corpus/$name" ] && first=("$corpus/$name")
  printf '\n=== %s\n' "$name"
  "./fuzz_$name" -max_total_time="$seconds" -print_final_stats=1 "corpus/$name" "${first[@]}" || failed=1
done
exit "$failed"
