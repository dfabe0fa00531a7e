#!/bin/sh
# Installs the build given as $1 into a scratch prefix, builds the consumer against it and runs it.
# $2: the project's folder.
set -eu
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cmake --install "$1" --prefix "$scratch/prefix" > "$scratch/install.log"
cmake -S "$2/Tests/Package" -B "$scratch/build" -G Ninja -DCMAKE_PREFIX_PATH="$scratch/prefix" > "$scratch/configure.log"
cmake --build "$scratch/build"
"$scratch/build/consumer" | grep -x -- '--host-pid'
test -x "$scratch/prefix/bin/QuillonUpdateInstaller"
