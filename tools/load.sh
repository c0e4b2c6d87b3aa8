#!/bin/sh
# Keeps the command busy and watches it: `vrd batch-sign` over 200 copies of one picture, then `vrd detect` over a long list
# and `vrd batch-sign` over a long folder, each for MINUTES, with the pictures of FOLDER and of the folders below it in
# random order. Memory and descriptors must stay flat, and the same picture must give the same answer every time. Changes
# nothing in FOLDER.
#
#   tools/load.sh FOLDER MINUTES [PROGRAM]
set -eu
cd "$(dirname "$0")/.."
[ $# -ge 2 ] || { sed -n '2,7s/^# \{0,1\}//p' "$0" >&2; exit 2; }
folder=$1
seconds=$(($2 * 60))
vrd=${3:-$PWD/build/bin/vrd}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
status=0

# One picture of each name, because results are told apart by name.
mkdir "$work/pictures" "$work/photos"
find "$folder" -type f \( -iname '*.jpg' -o -iname '*.png' \) -exec cp -t "$work/pictures" {} +

fail() {
    echo "FAILED: $1" >&2
    status=1
}

# PID FILE: a line of seconds, kilobytes in memory, the most so far, and descriptors, until the time is over.
watch_process() {
    began=$(date +%s)
    : >"$2"
    while kill -0 "$1" 2>/dev/null; do
        now=$(($(date +%s) - began))
        [ "$now" -lt "$seconds" ] || { kill -TERM "$1" && break; }
        memory=$(sed -n 's/^VmRSS:[^0-9]*\([0-9]*\).*/\1/p; s/^VmHWM:[^0-9]*\([0-9]*\).*/\1/p' "/proc/$1/status" | sort -n |
            tr '\n' ' ')
        descriptors=$(find "/proc/$1/fd" -mindepth 1 2>/dev/null | wc -l)
        [ -z "$memory" ] || echo "$now $memory$descriptors" >>"$2"
        sleep 1
    done
    wait "$1" || true
}

# FILE: compares the second quarter of the time, after the first for warming up, with the last.
judge_samples() {
    awk -v all="$seconds" '
        $1 >= all / 4 && $1 < all / 2 { if ($2 > early) early = $2; if ($4 > files) files = $4; sum += $2; n++ }
        $1 >= all * 3 / 4 { if ($2 > late) late = $2; if ($4 > latefiles) latefiles = $4; latesum += $2; m++ }
        { most = $3 }
        END {
            if (!n || !m) { print "  no samples: it ended too early"; exit 1 }
            printf "  memory, second quarter: most %d KB, mean %d KB; last quarter: most %d KB, mean %d KB; peak %d KB\n",
                early, sum / n, late, latesum / m, most
            printf "  descriptors, second quarter: at most %d; last quarter: at most %d\n", files, latefiles
            exit late > early * 1.05 + 4096 || latefiles > files + 4  # files of the moment
        }' "$1" || fail "memory or descriptors grow"
}

# Lines of two words, a picture and what became of it, on standard input: each picture must come with one answer only.
judge_answers() {
    sort >"$work/answers"
    sort -u "$work/answers" | cut -f 1 | uniq -d >"$work/unsteady"
    echo "  $(wc -l <"$work/answers") answers about $(cut -f 1 "$work/answers" | uniq | wc -l) pictures"
    [ -s "$work/answers" ] || fail "no answers"
    [ ! -s "$work/unsteady" ] || fail "different answers about $(tr '\n' ' ' <"$work/unsteady")"
}

# Pictures of one size, so that memory is the same after each: what grows shows in kilobytes.
load_one_picture() {
    picture=$(find "$work/pictures" -type f | sort | head -n 1)
    mkdir "$work/same"
    number=100
    while [ "$number" -lt 300 ]; do
        ln "$picture" "$work/same/$number-${picture##*/}"
        number=$((number + 1))
    done
    echo "vrd batch-sign, 200 times ${picture##*/}:"
    mkfifo "$work/reports"
    "$vrd" batch-sign --json --quiet "$work/same" -s Veri-2026x >"$work/reports" 2>/dev/null &
    number=0
    while read -r _; do
        number=$((number + 1))
        echo "$number $(sed -n 's/^VmRSS:[^0-9]*\([0-9]*\).*/\1/p' "/proc/$!/status" 2>/dev/null)"
    done <"$work/reports" >"$work/same-samples"
    wait $! || fail "not all the pictures were signed"
    awk 'NF == 2 && $1 <= 200 { quarter = int(($1 - 1) / 50); sum[quarter] += $2; n[quarter]++ }
        END {
            if (!n[1] || !n[3]) { print "  no samples"; exit 1 }
            printf "  memory, means of the quarters: %d, %d, %d, %d KB\n",
                sum[0] / n[0], sum[1] / n[1], sum[2] / n[2], sum[3] / n[3]
            exit sum[3] / n[3] > sum[1] / n[1] + 1024
        }' "$work/same-samples" || fail "memory grows"
}

load_detect() {
    # Half of the pictures are signed first, so that there is something to find.
    count=0
    for picture in "$work/pictures"/*; do
        count=$((count + 1))
        [ $((count % 2)) -eq 0 ] || "$vrd" sign --quiet "$picture" -s Veri-2026x -o "$work/photos/signed-${picture##*/}" \
            >/dev/null 2>&1 || true
    done
    round=0
    while [ "$round" -lt 2000 ]; do
        find "$work/pictures" "$work/photos" -type f | shuf
        round=$((round + 1))
    done >"$work/list"
    echo "vrd detect, $2 minutes of $(sort -u "$work/list" | wc -l) pictures:"
    "$vrd" detect --quiet --files-from "$work/list" >"$work/detect.txt" 2>&1 &
    watch_process $! "$work/detect-samples"
    judge_samples "$work/detect-samples"
    grep -v ': interrupted$' "$work/detect.txt" | sed 's/: \([^:]*\)$/\t\1/' | judge_answers
}

load_batch_sign() {
    mkdir "$work/batch"
    round=1000
    while [ "$round" -lt 1400 ]; do
        for picture in "$work/pictures"/*; do
            number=$(od -An -N4 -tu4 /dev/urandom | tr -d ' ')
            ln "$picture" "$work/batch/$number-$round-${picture##*/}"
        done
        round=$((round + 1))
    done
    echo "vrd batch-sign, $2 minutes of $(find "$work/pictures" -type f | wc -l) pictures:"
    "$vrd" batch-sign --quiet "$work/batch" -s Veri-2026x >"$work/batch.txt" 2>&1 &
    watch_process $! "$work/batch-samples"
    judge_samples "$work/batch-samples"
    if find "$work/batch/signed" -name '.veridane*' | grep .; then fail "temporary files stay"; fi
    # Every signing draws other dither, so that bytes and quality differ from time to time.
    sed -n 's/^vrd: //; s/: signed as .*/: signed/; s|^.*/[0-9]*-[0-9]*-\([^/]*\): \([^:]*\)$|\1\t\2|p' \
        "$work/batch.txt" | grep -v 'interrupted$' | judge_answers
    find "$work/batch/signed" -type f ! -name '*.log' | shuf -n 100 >"$work/written"
    "$vrd" detect --quiet --files-from "$work/written" >"$work/found.txt" 2>&1 || true
    found=$(grep -c ': Veri-2026x' "$work/found.txt" || true)
    echo "  the sign was found in $found of $(wc -l <"$work/written") written files"
    [ "$found" -eq "$(wc -l <"$work/written")" ] || fail "written files without the sign"
}

load_one_picture
load_detect "$@"
load_batch_sign "$@"
if [ "$status" -ne 0 ]; then exit 1; fi
