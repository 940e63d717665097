#!/usr/bin/env bash
# Installs what is missing, builds the program and passes every test.
set -euo pipefail
cd "$(dirname "$0")"

tools/setup/install-packages.sh
cmake --preset release
cmake --build --preset release
# Most tests wait: twice as many as processors keep these busy.
ctest --preset release -j "$((2 * $(nproc)))"
