#!/usr/bin/env bash
# Takes the pictures of dov-watch and dov-panel in docs/images, each from a run of the demonstration.
# That of dov-watch lasts a good minute: until the sparklines are full.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

tools/setup/install-packages.sh tools/setup/packages.txt tools/screenshot/packages.txt
mkdir -p docs/images
/usr/bin/python3 tools/screenshot/terminal_picture.py docs/images/dov-watch.png ./demo.sh
DOV_PANEL_PICTURE=docs/images/dov-panel.png ./demo.sh --panel </dev/null | cat
# A page has few colours.
/usr/bin/python3 - docs/images/dov-panel.png <<'END'
import sys
from PIL import Image
with Image.open(sys.argv[1]) as picture:
    small = picture.convert("RGB").quantize(128)
small.save(sys.argv[1], optimize=True)
END
