#!/usr/bin/env bash
# Builds the library and the demo, and runs the demo; pictures land in demo-output/.
set -euo pipefail
cd "$(dirname "$0")/.."
cmake --preset default
cmake --build --preset default --target qvgeom_demo
./build/default/examples/demo/qvgeom_demo "${1:-demo-output}"
