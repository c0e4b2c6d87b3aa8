#!/bin/sh
# Renders the drawings of vrd_gui/res/icons (SVG) into the pictures of vrd_gui/res that the program carries, and the logo
# into those of data/icons that desktops show. Run it by hand after a drawing has changed, and commit what it
# writes. Needs rsvg-convert (librsvg2-bin) and convert (imagemagick), on the machine of whoever draws only.
set -eu
cd "$(dirname "$0")/../vrd_gui/res"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# One file with all sizes: the toolkit takes the one that fits, also on screens of double density.
icon() {
    drawing=icons/$1.svg
    result=png/$2.ico
    shift 2
    for size in "$@"; do
        rsvg-convert -w "$size" -h "$size" "$drawing" -o "$work/$(printf %03d "$size").png"
    done
    convert "$work"/*.png "$result"
    rm -f "$work"/*.png
}

mkdir -p png images
for drawing in icons/*.svg; do
    name=$(basename "$drawing" .svg)
    case $name in
        splash | logo) ;;
        *) icon "$name" "$name" 16 22 24 32 44 48 64 ;;
    esac
done
icon logo vrd_icon 16 22 24 32 44 48 64 128
rsvg-convert icons/logo.svg -o images/logo_color.png
rsvg-convert -z 2 icons/logo.svg -o images/logo_color@2x.png
rsvg-convert icons/splash.svg -o images/splash.png
rsvg-convert -z 2 icons/splash.svg -o images/splash@2x.png

desktop=../../data/icons/hicolor
for size in 16 22 24 32 48 64 128 256 512; do
    mkdir -p "$desktop/${size}x$size/apps"
    rsvg-convert -w "$size" -h "$size" icons/logo.svg -o "$desktop/${size}x$size/apps/veridane.png"
done
