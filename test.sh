#!/usr/bin/env bash
# Installs what is missing, builds with warnings as errors and runs all tests. Arguments go to ctest.
set -euo pipefail
cd "$(dirname "$0")"

scripts/need g++ cmake ninja-build libgtest-dev libgmock-dev libcli11-dev nlohmann-json3-dev jq locales python3
cmake --preset dev
cmake --build --preset dev
ctest --preset dev "$@"
