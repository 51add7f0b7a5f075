#!/usr/bin/env bash
# Pictures of the real program for the README: runs it under Xvfb with a CJK font, signs in with the
# default code and saves the login dialog, the wait dialog, the three pages and a dialog to docs/screenshots/.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh --screenshots

cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j2 --target ombrivane_screenshots
mkdir -p docs/screenshots
OMBRIVANE_SCREENSHOTS="$PWD/docs/screenshots" QT_QPA_PLATFORM=xcb \
    xvfb-run -a -s "-screen 0 1400x900x24" build/scripts/screenshots/ombrivane_screenshots
