#!/bin/sh
# Packs an installed release into build/veridane-VERSION-MACHINE.tar.gz, which runs from any folder of a system that has
# the libraries and the program pdfimages; then unpacks it elsewhere, signs and finds there.
set -eu
cd "$(dirname "$0")/.."
tools/install_packages.sh
tools/build.sh release

version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' build/CMakeCache.txt)
name=veridane-$version-$(uname -m)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install build --prefix "$work/$name" --strip >/dev/null
tar --sort=name --owner=0 --group=0 --numeric-owner -C "$work" -czf "build/$name.tar.gz" "$name"

mkdir "$work/else where"
tar -C "$work/else where" -xzf "build/$name.tar.gz"
rm -rf "${work:?}/$name"
tests/install/try_installed.sh "$work/else where/$name" data/samples/astronaut.png
echo "build/$name.tar.gz: runs from another folder"
