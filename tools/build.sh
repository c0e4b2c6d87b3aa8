#!/bin/sh
# Configures and builds one preset: release (into build/, programs in build/bin), dev, asan or tsan.
set -eu
cd "$(dirname "$0")/.."
preset=${1:-release}

cmake --preset "$preset" >"${TMPDIR:-/tmp}/veridane-configure.$$" 2>&1 || {
    cat "${TMPDIR:-/tmp}/veridane-configure.$$" >&2
    rm -f "${TMPDIR:-/tmp}/veridane-configure.$$"
    exit 1
}
rm -f "${TMPDIR:-/tmp}/veridane-configure.$$"
cmake --build --preset "$preset"
