#!/bin/sh
# Compares the localization file with the texts of the program: says which are missing, superfluous or wrong. Needs a
# build of the preset given (release unless told).
set -eu
cd "$(dirname "$0")/.."
preset=${1:-release}
programs=build/$preset/bin
[ "$preset" = release ] && programs=build/bin
exec "$programs/test_texts" --gtest_brief=1
