#!/bin/sh
# Reports which lines and branches of the libraries the tests of the preset coverage ran. An assertion
# that holds is no branch that somebody forgot to test.
set -eu
cd "$(dirname "$0")/.."
build=build/coverage
mkdir -p "$build/report"
gcovr --root . --object-directory "$build" -j "${JOBS:-1}" \
  --filter '(framework|model|Firewall|AppRecognition)/' \
  --exclude-throw-branches --exclude-unreachable-branches \
  --exclude-branches-by-pattern '.*PITH_ASSERT.*' \
  --txt --print-summary --html-details "$build/report/index.html"
