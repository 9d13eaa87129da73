#!/usr/bin/env bash
# Builds the Debian packages from the release build (libplenar16, libplenar-dev,
# python3-plenar), installs them with apt-get as a user would, builds and runs the
# client program against libplenar-dev (through find_package and pkg-config), runs
# examples/pick.py with the system Python against python3-plenar, then removes the
# packages again. Needs root (apt-get).
set -euo pipefail
cd "$(dirname "$0")/.."

cmake --preset release >/dev/null
cmake --build --preset release --target package
version=$(grep -m 1 -oP '^\s+VERSION \K[0-9.]+' CMakeLists.txt)
packages=(libplenar16 libplenar-dev python3-plenar)
debs=()
for p in "${packages[@]}"; do
  debs+=("./build/release/${p}_${version}_$(dpkg --print-architecture).deb")
done
export DEBIAN_FRONTEND=noninteractive
apt-get install -y -q --reinstall "${debs[@]}"
trap 'apt-get purge -y -q "${packages[@]}" >/dev/null' EXIT

# C++: a client built against the installed headers, CMake package and pkg-config file.
cmake -DINSTALLED_PREFIX=/usr -DLIBDIR=lib \
  -DCLIENT_SOURCE_DIR="$PWD/tests/install/client" -DWORK_DIR="$PWD/build/deb-check" \
  -DCXX_COMPILER=c++ -P tests/install/CheckInstall.cmake

# Python: the system interpreter, from a directory outside the tree, with no
# PYTHONPATH, must import the installed module and run the example.
module=$(cd /tmp && env -u PYTHONPATH /usr/bin/python3 -c 'import plenar; print(plenar.__file__)')
case "$module" in
  /usr/lib/python3/dist-packages/*) ;;
  *) echo "plenar imported from $module, not from python3-plenar" >&2; exit 1 ;;
esac
(cd /tmp && env -u PYTHONPATH /usr/bin/python3 "$OLDPWD/examples/pick.py")
echo "Debian packages ${packages[*]} $version install and serve a C++ client and the Python example"
