#!/usr/bin/env bash
# Builds the Debian package from the release build, installs it with apt-get as a
# user would, builds and runs the client program against the installed files
# (through find_package and pkg-config), then removes the package again.
# Needs root (apt-get).
set -euo pipefail
cd "$(dirname "$0")/.."

cmake --preset release >/dev/null
cmake --build --preset release --target package
deb=$(ls build/release/libplenar_*_*.deb)
export DEBIAN_FRONTEND=noninteractive
apt-get install -y -q --reinstall "./$deb"
trap 'apt-get remove -y -q libplenar >/dev/null' EXIT
cmake -DINSTALLED_PREFIX=/usr -DLIBDIR=lib \
  -DCLIENT_SOURCE_DIR="$PWD/tests/install/client" -DWORK_DIR="$PWD/build/deb-check" \
  -DCXX_COMPILER=c++ -P tests/install/CheckInstall.cmake
echo "Debian package $deb installs and serves a client"
