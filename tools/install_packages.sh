#!/bin/sh
# Installs the Debian packages that building, testing and running need. Does nothing, and asks for nothing, when all are
# there already. Another list instead: "format" for the formatter, "deb" for building Debian packages, "files" and "tools"
# for what tools/check.sh uses.
set -eu

packages="g++ cmake ninja-build pkg-config
    qt6-base-dev qt6-translations-l10n qt6-image-formats-plugins libturbojpeg0-dev libtiff-dev libexif-dev libiptcdata0-dev poppler-utils
    libhwy-dev libcli11-dev nlohmann-json3-dev libgtest-dev libgmock-dev libbenchmark-dev xvfb xauth"
case ${1:-} in
    format) packages="clang-format" ;;
    deb) packages="debhelper dpkg-dev fakeroot lintian" ;;
    files) packages="appstream desktop-file-utils groff shellcheck" ;;
    tools) packages="clang clang-tidy gcovr libclang-rt-14-dev" ;;
esac

missing=""
for package in $packages; do
    status=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$status" = installed ] || missing="$missing $package"
done
[ -n "$missing" ] || exit 0

asRoot=""
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null 2>&1; then
        echo "These Debian packages are missing and installing them needs root:$missing" >&2
        exit 1
    fi
    asRoot="sudo"
fi
echo "Installing the Debian packages that are missing:$missing"
export DEBIAN_FRONTEND=noninteractive
lock="-o DPkg::Lock::Timeout=500"
# shellcheck disable=SC2086  # lists of words on purpose
$asRoot apt-get $lock -qq update
# shellcheck disable=SC2086
$asRoot env DEBIAN_FRONTEND=noninteractive apt-get $lock -qq install -y --no-install-recommends $missing >/dev/null
echo "Installed."
