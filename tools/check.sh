#!/bin/sh
# The checks beside the tests, one verb each:
#
#   tools/check.sh format          clang-format has nothing to change
#   tools/check.sh files           desktop entry, metainfo, manual pages and scripts are well formed
#   tools/check.sh tidy [FILE..]   clang-tidy has nothing to say, of all sources unless told
#   tools/check.sh asan            all tests with the address and undefined-behaviour sanitizers
#   tools/check.sh tsan            all tests with the thread sanitizer
#   tools/check.sh fuzz SECONDS [TARGET..]  each fuzz target for so long, from its corpus, or those that are named
#   tools/check.sh faults [SAMPLES]   lets allocations fail all over the command (300 places in each use of it)
#   tools/check.sh kills [COUNT]      kills the command and a program that saves settings (200 times each)
#   tools/check.sh load FOLDER MINUTES   keeps the command busy with the pictures of FOLDER and watches memory and answers
#   tools/check.sh hardening       what makes faults of memory harmless is in the programs
#   tools/check.sh coverage        how many lines and branches of each folder the tests reach; build/coverage/html
#   tools/check.sh bench           the benchmarks; results are checked before they are timed
#   tools/check.sh tarball         a tarball that is unpacked and tried elsewhere
#   tools/check.sh deb             the Debian packages, with their tests and lintian
set -eu
cd "$(dirname "$0")/.."

check_files() {
    tools/install_packages.sh files
    desktop-file-validate data/desktop/*.desktop
    appstreamcli validate --no-net data/desktop/*.metainfo.xml
    for page in data/man/*.1; do
        warnings=$(groff -man -Tutf8 -ww "$page" 2>&1 >/dev/null)
        [ -z "$warnings" ] || { echo "$page: $warnings" >&2; exit 1; }
    done
    shellcheck tools/*.sh tests/install/*.sh debian/tests/sign-and-find debian/tests/window .ci/run
    shellcheck -s bash data/completion/vrd.bash
    echo "Desktop entry, metainfo, manual pages and scripts are well formed."
}

check_tidy() {
    tools/install_packages.sh tools
    cmake --preset release >/dev/null
    # What sources include and the build makes.
    made=$(ninja -C build -t targets all | sed -n 's/^\(vrd_gui\/ui_[a-z_]*\.h\):.*/\1/p' | sort -u)
    # shellcheck disable=SC2086
    ninja -C build $made >/dev/null
    # One file at a time: of several, the analyzer takes along into the next what it thinks of argument lists.
    if [ $# -gt 0 ]; then printf '%s\0' "$@"; else git ls-files -z 'bx/*.cpp' 'vrd_*/*.cpp'; fi |
        xargs -0 -P "$(nproc)" -n 1 clang-tidy -p build --quiet --warnings-as-errors='*'
}

# What else a target is told.
fuzz_options() {
    case $1 in
        localization_file) echo "-max_len=4096" ;;
        settings_file) echo "-max_len=8192" ;;
        picture_file) echo "-max_len=20000 -timeout=60 -close_fd_mask=2" ;;
        command_line) echo "-max_len=2048 -close_fd_mask=3" ;;
    esac
}

# What the fuzzer finds stays in build/fuzz/corpus; an input that makes a target fail lies in build/fuzz.
check_fuzz() {
    seconds=${1:?how many seconds?}
    shift
    tools/install_packages.sh tools
    cmake -G Ninja -S . -B build/fuzz -DCMAKE_CXX_COMPILER=clang++ -DVERIDANE_FUZZ=ON -DVERIDANE_TESTS=OFF >/dev/null
    cmake --build build/fuzz --target fuzz_targets
    # shellcheck disable=SC2046
    [ $# -gt 0 ] || set -- $(sed -n 's/^veridane_fuzz_target(\([a-z_]*\).*/\1/p' fuzz/CMakeLists.txt)
    # Targets that write files write many.
    [ ! -w /dev/shm ] || export TMPDIR=/dev/shm
    for target in "$@"; do
        echo "== $target"
        corpus=build/fuzz/corpus/$target
        mkdir -p "$corpus"
        build/fuzz/bin/replay_"$target" --write "$corpus"
        [ ! -d fuzz/corpus/"$target" ] || cp fuzz/corpus/"$target"/* "$corpus"
        # shellcheck disable=SC2046
        build/fuzz/bin/fuzz_"$target" -max_total_time="$seconds" -print_final_stats=1 -verbosity=0 \
            -artifact_prefix=build/fuzz/"$target"- $(fuzz_options "$target") "$corpus" </dev/null
    done
}

check_coverage() {
    tools/install_packages.sh tools
    cmake -G Ninja -S . -B build/coverage -DCMAKE_BUILD_TYPE=Debug -DVERIDANE_BENCHMARKS=OFF \
        -DVERIDANE_TEST_SECONDS=1800 -DCMAKE_CXX_FLAGS="--coverage -fprofile-update=atomic -O1" >/dev/null
    cmake --build build/coverage
    find build/coverage -name '*.gcda' -delete
    # The table is told whatever becomes of the tests.
    failed=0
    runtime=$(mktemp -d)
    XDG_RUNTIME_DIR=$runtime QT_QPA_PLATFORM=offscreen ctest --test-dir build/coverage -j "$(nproc)" --no-tests=error --output-on-failure ||
        failed=$?
    rm -rf "$runtime"
    mkdir -p build/coverage/html
    tools/gcovr_of_forms.py -r . --filter 'bx/' --filter 'vrd_' --exclude '.*autogen.*' --exclude-throw-branches \
        --html-details build/coverage/html/index.html --json-summary build/coverage/summary.json build/coverage
    tools/coverage_table.py build/coverage/summary.json
    return "$failed"
}

verb=${1:-}
[ $# -eq 0 ] || shift
case $verb in
    format) tools/format.sh check ;;
    files) check_files ;;
    tidy) check_tidy "$@" ;;
    asan) tools/build.sh asan && tools/test.sh asan ;;
    tsan)
        # The toolkit is not instrumented; what its threads hand over is annotated (vrd_gui/workers/thread_hand_over.h).
        tools/build.sh tsan
        TSAN_OPTIONS="ignore_noninstrumented_modules=1 halt_on_error=1" tools/test.sh tsan
        ;;
    fuzz) check_fuzz "$@" ;;
    faults) tools/build.sh release && build/bin/veridane_faults allocations "${1:-300}" ;;
    kills) tools/build.sh release && build/bin/veridane_faults kills "${1:-200}" ;;
    load) tools/build.sh release && tools/load.sh "$@" ;;
    hardening) tools/build.sh release && tests/install/check_hardening.sh build/bin/vrd build/bin/veridane ;;
    coverage) check_coverage ;;
    bench) make bench ;;
    tarball) tools/build_tarball.sh ;;
    deb) tools/build_deb.sh --check ;;
    *)
        sed -n '2,/^set/s/^# \{0,1\}//p' "$0" >&2
        exit 2
        ;;
esac
