#!/bin/sh
# Installs a build into a folder that was not known when it was built, and tries it there.
#
#   check_installation.sh CMAKE BUILD-FOLDER PHOTO
set -eu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$1" --install "$2" --prefix "$work/some where" >/dev/null
"$(dirname "$0")/try_installed.sh" "$work/some where" "$3"
