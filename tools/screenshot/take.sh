#!/usr/bin/env bash
# Takes the picture of dov-watch in docs/images from a run of the demonstration, which lasts a good
# minute: until the sparklines are full.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

tools/setup/install-packages.sh tools/setup/packages.txt tools/screenshot/packages.txt
mkdir -p docs/images
exec /usr/bin/python3 tools/screenshot/terminal_picture.py docs/images/dov-watch.png ./demo.sh
