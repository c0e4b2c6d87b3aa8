#!/bin/sh
# Formats every C++ file in place; with "check" it only reports what is not formatted and fails.
set -eu
cd "$(dirname "$0")/.."
tools/install_packages.sh format
mode="-i"
[ "${1:-}" = check ] && mode="--dry-run -Werror"
# shellcheck disable=SC2086
git ls-files -z --cached --others --exclude-standard -- '*.h' '*.cpp' | xargs -0 -r clang-format $mode
