#!/bin/sh
# Builds the Debian packages from the files of this tree into build/deb, and looks at them with lintian. Installs what
# that needs. The tests are run on the way with "--check".
set -eu
cd "$(dirname "$0")/.."
options="nocheck"
[ "${1:-}" = --check ] && options=""

tools/install_packages.sh
tools/install_packages.sh deb

version=$(dpkg-parsechangelog -S Version)
folder=build/deb
tree=$folder/veridane-$version
rm -rf "$folder"
mkdir -p "$tree"
git ls-files -z --cached --others --exclude-standard | xargs -0 cp --parents -t "$tree"

(
    cd "$tree"
    DEB_BUILD_OPTIONS="$options parallel=$(nproc)" dpkg-buildpackage -us -uc ${options:+-Pnocheck} >../build.log 2>&1
) || {
    tail -40 "$folder/build.log" >&2
    exit 1
}
rm -rf "$tree"
lintian --info --fail-on error,warning "$folder"/*.changes
echo "The packages:"
ls "$folder"/*.deb
