#!/bin/sh
# Installs the build given as $1 into a scratch prefix, moves that elsewhere, and builds the consumer against it and runs
# it: with CMake, and with pkg-config. $2: the project's folder.
set -eu
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cmake --install "$1" --prefix "$scratch/staged" > "$scratch/install.log"
mv "$scratch/staged" "$scratch/prefix"
test -x "$scratch/prefix/bin/QuillonUpdateInstaller"

cmake -S "$2/Tests/Package" -B "$scratch/build" -G Ninja -DCMAKE_PREFIX_PATH="$scratch/prefix" > "$scratch/configure.log"
cmake --build "$scratch/build"
"$scratch/build/consumer" | grep -x -- '--host-pid'

PKG_CONFIG_PATH=$(dirname "$(find "$scratch/prefix" -name quillon-core.pc)")
export PKG_CONFIG_PATH
for module in "$PKG_CONFIG_PATH"/quillon-*.pc; do pkg-config --print-errors --exists "$(basename "$module" .pc)"; done
# Everything that a host without a toolkit links.
# shellcheck disable=SC2046 # words on purpose
c++ -std=c++20 "$2/Tests/Package/main.cpp" -o "$scratch/consumer" \
  $(pkg-config --cflags --libs quillon-installer-coordinator quillon-presentation-terminal quillon-system-logging)
"$scratch/consumer" | grep -x -- '--host-pid'
