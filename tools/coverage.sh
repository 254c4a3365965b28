#!/bin/sh
# Reports which lines and branches of the libraries the tests of the preset coverage ran.
set -eu
cd "$(dirname "$0")/.."
build=build/coverage
mkdir -p "$build/report"
gcovr --root . --object-directory "$build" -j "${JOBS:-1}" \
  --filter '(framework|model|Firewall|AppRecognition)/' \
  --exclude-throw-branches --exclude-unreachable-branches \
  --txt --print-summary --html-details "$build/report/index.html"
