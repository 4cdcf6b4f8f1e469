#!/usr/bin/env bash
# Configures, builds and runs every test (the install-and-consume check included).
set -euo pipefail
cd "$(dirname "$0")/.."
cmake --workflow --preset default
