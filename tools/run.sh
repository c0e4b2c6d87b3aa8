#!/bin/sh
# Opens the program where there is a screen. Where there is none, signs the sample picture, shrinks a copy of it, and
# finds the sign again in both. Needs a built release.
set -eu
cd "$(dirname "$0")/.."
if [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
    exec build/bin/veridane "$@"
fi
vrd=build/bin/vrd
sign=Veri-2026x
photo=data/samples/astronaut.png
folder=build/demo
signed=$folder/astronaut-signed.jpg
shrunk=$folder/astronaut-signed-70-percent.png

mkdir -p "$folder"

echo "1. Hiding the sign \"$sign\" in $photo and saving the picture as JPEG:"
"$vrd" sign "$photo" -s "$sign" -o "$signed" -q 90 --force

echo "2. Shrinking a copy to 70 percent, as happens to pictures on their way:"
build/bin/vrd_demo "$signed" 70 "$shrunk"
echo "$shrunk: written"

echo "3. Looking for a sign in both:"
for picture in "$signed" "$shrunk"; do
    answer=$("$vrd" detect "$picture") || true
    echo "$answer"
    [ "$answer" = "$picture: $sign" ] || {
        echo "The sign was not found in $picture." >&2
        exit 1
    }
done

echo "The sign was found in both. Compare the pictures by eye:"
echo "  before:  $PWD/$photo"
echo "  signed:  $PWD/$signed"
echo "  shrunk:  $PWD/$shrunk"
echo "Sign a photograph of your own:  $vrd sign PHOTO -s $sign -o OUT.jpg"
