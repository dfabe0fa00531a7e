#!/bin/sh
# Makes Debian packages of the build given as $1, installs them into an empty root, builds the sample host there as a
# developer does, and removes them again.
set -eu
build=$1
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
fail() { echo "$*" >&2; exit 1; }

# Packing takes longer than everything else and shows nothing.
cpack -G DEB --config "$build/CPackConfig.cmake" -B "$scratch/packages" -D CPACK_DEBIAN_COMPRESSION_TYPE=none \
  > "$scratch/cpack.log" 2>&1 || { cat "$scratch/cpack.log"; exit 1; }
commands=$(echo "$scratch"/packages/quillon_*.deb)
development=$(echo "$scratch"/packages/libquillon-dev_*.deb)
for package in "$commands" "$development"; do
  [ "$(dpkg-deb --field "$package" Maintainer)" ] && [ "$(dpkg-deb --field "$package" Section)" ] ||
    fail "$package has no maintainer or section"
done
dpkg-deb --field "$commands" Depends | grep -q 'libc6 (>=' || fail "the commands do not depend on the libraries they load"

# A root with a database of packages and nothing else. What the packages depend on is not in it.
root=$scratch/root
mkdir -p "$root/var/lib/dpkg/info" "$root/var/lib/dpkg/updates"
touch "$root/var/lib/dpkg/status"
# Into a machine without any package, apt would install all that they depend on. pkg-config is what CMake finds some of it by.
if ls /var/lib/apt/lists/*_Packages* > "$scratch/lists.log" 2>&1; then
  apt-get --simulate -o Dir::State::status="$root/var/lib/dpkg/status" --no-install-recommends install \
    "$commands" "$development" > "$scratch/apt.log" 2>&1 || { cat "$scratch/apt.log"; fail "the dependencies cannot be resolved"; }
  for package in quillon libquillon-dev pkg-config; do
    grep -q "^Inst $package " "$scratch/apt.log" || fail "apt would not install $package"
  done
else
  echo "The dependencies are not resolved: apt has no lists of packages here (apt-get update)."
fi
package_tool() {
  dpkg --root="$root" --log=/dev/null --force-depends --force-not-root "$@" > "$scratch/dpkg.log" 2>&1 ||
    { cat "$scratch/dpkg.log"; exit 1; }
}
if [ "$(id -u)" -eq 0 ]; then
  package_tool --install "$commands" "$development"
else  # only root can own what is installed
  dpkg-deb --extract "$commands" "$root"
  dpkg-deb --extract "$development" "$root"
fi
[ -f "$root/usr/share/man/man1/quillon.1.gz" ] || fail "the manual pages are missing"
[ -d "$root/etc/quillon/anchors.d" ] || fail "the folder of anchors is missing"
"$root/usr/bin/quillon" version compare 2.0 1.9 > "$scratch/order.log" || [ $? -le 2 ] || fail "quillon does not run"

# As a developer does: copies the sample and builds it. The compiler cache finds what it compiled in another folder.
cp -R "$root/usr/share/quillon/examples/SampleHost" "$scratch/SampleHost"
export CCACHE_BASEDIR=$scratch CCACHE_NOHASHDIR=1
cmake -S "$scratch/SampleHost" -B "$scratch/build" -G Ninja -DCMAKE_PREFIX_PATH="$root/usr" -DSAMPLE_TEAM=TEAM123456 \
  > "$scratch/configure.log" || { cat "$scratch/configure.log"; exit 1; }
cmake --build "$scratch/build" > "$scratch/build.log" || { cat "$scratch/build.log"; exit 1; }
"$scratch/build/Sample.app/Contents/MacOS/Sample" --version | grep -x 'Sample 1.0 (1)'
[ -x "$scratch/build/Sample.app/Contents/MacOS/QuillonUpdateInstaller" ] || fail "the bundle has no installer"

if [ "$(id -u)" -eq 0 ]; then
  package_tool --purge libquillon-dev quillon
  left=$(find "$root" -mindepth 1 -not -path "$root/var*" -print)
  [ -z "$left" ] || fail "still there after the removal: $left"
fi
