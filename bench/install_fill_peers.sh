#!/bin/sh
# Installs the optional peers of bench/fill_bench.cpp from Debian's packages.
# Reconfigure the bench preset afterwards so that they are found.
set -e
if [ "$(id -u)" -ne 0 ]; then SUDO=sudo; else SUDO=; fi
$SUDO apt-get update
$SUDO apt-get install -y --no-install-recommends pkg-config libcairo2-dev libagg-dev
