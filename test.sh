#!/usr/bin/env bash
# Installs what is missing, builds the program and passes every test.
set -euo pipefail
cd "$(dirname "$0")"

tools/setup/install-packages.sh
cmake --preset release
cmake --build --preset release
ctest --preset release -j "$(nproc)"
