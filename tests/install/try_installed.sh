#!/bin/sh
# Signs, finds, and finds in a PDF document with an installed tree, and opens its window without a screen.
#
#   try_installed.sh PREFIX PHOTO
set -eu
prefix=$1
photo=$2
sign=Veri-2026x
work=$(mktemp -d)
program=""
trap '[ -z "$program" ] || kill "$program" 2>/dev/null || true; rm -rf "$work"' EXIT
vrd=$prefix/bin/vrd

"$vrd" sign "$photo" -s $sign -o "$work/signed.jpg" --quiet
"$vrd" detect "$work/signed.jpg" | grep ": $sign\$"

# The smallest document that shows the signed picture: its pictures are taken out by a program of the bundle folder.
{
    printf '%%PDF-1.4\n1 0 obj\n<</Type/Catalog/Pages 2 0 R>>\nendobj\n'
    printf '2 0 obj\n<</Type/Pages/Kids[3 0 R]/Count 1>>\nendobj\n'
    printf '3 0 obj\n<</Type/Page/Parent 2 0 R/MediaBox[0 0 9 9]/Contents 4 0 R/Resources<</XObject<</I 5 0 R>>>>>>\n'
    printf 'endobj\n4 0 obj\n<</Length 5>>\nstream\n/I Do\nendstream\nendobj\n'
    printf '5 0 obj\n<</Type/XObject/Subtype/Image/Width 512/Height 512/ColorSpace/DeviceRGB/BitsPerComponent 8'
    printf '/Filter/DCTDecode/Length %d>>\nstream\n' "$(stat -c %s "$work/signed.jpg")"
    cat "$work/signed.jpg"
    printf '\nendstream\nendobj\ntrailer\n<</Root 1 0 R/Size 6>>\n'
} >"$work/document.pdf"
"$vrd" pdf-detect "$work/document.pdf" | grep ", picture 1: $sign\$"

# The window says in its log that it has found the texts of the bundle folder, and ends when it is asked to.
export HOME="$work/home" XDG_RUNTIME_DIR="$work/home" QT_QPA_PLATFORM=offscreen
mkdir -m 700 "$HOME"
log=$HOME/.Veridane/log/vrd.log
"$prefix/bin/veridane" "$photo" &
program=$!
until grep -q "GUI started." "$log" 2>/dev/null; do
    kill -0 "$program"
done
grep "The file version is OK." "$log" >/dev/null
kill -TERM "$program"
wait "$program"
program=""
echo "The window came up with its texts and ended."
