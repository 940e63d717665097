#!/usr/bin/env bash
# Installs what is missing, builds the program and passes every test.
set -euo pipefail
cd "$(dirname "$0")"

tools/setup/install-packages.sh
cmake --preset release
cmake --build --preset release
# Most tests wait, most of the time: three for each processor keep it busy.
ctest --preset release -j "$((3 * $(nproc)))"
