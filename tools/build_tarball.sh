#!/bin/sh
# Packs an installed release into build/veridane-VERSION-MACHINE.tar.gz, which runs from any folder of a system that has
# the libraries and the program pdfimages; then unpacks it elsewhere, signs and finds there.
set -eu
cd "$(dirname "$0")/.."
tools/install_packages.sh
tools/build.sh release

version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' build/CMakeCache.txt)
name=veridane-$version-$(uname -m)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install build --prefix "$work/$name" --strip >/dev/null
tar --sort=name --owner=0 --group=0 --numeric-owner -C "$work" -czf "build/$name.tar.gz" "$name"

mkdir "$work/else where"
tar -C "$work/else where" -xzf "build/$name.tar.gz"
rm -rf "${work:?}/$name"
vrd="$work/else where/$name/bin/vrd"
"$vrd" sign data/samples/astronaut.png -s Veri-2026x -o "$work/signed.jpg" --quiet >/dev/null
"$vrd" detect "$work/signed.jpg" | grep ': Veri-2026x$' >/dev/null

# The smallest document that shows the signed picture, to see that pdfimages is found.
{
    printf '%%PDF-1.4\n1 0 obj<</Type/Catalog/Pages 2 0 R>>endobj\n2 0 obj<</Type/Pages/Kids[3 0 R]/Count 1>>endobj\n'
    printf '3 0 obj<</Type/Page/Parent 2 0 R/MediaBox[0 0 9 9]/Resources<</XObject<</I 4 0 R>>>>>>endobj\n'
    printf '4 0 obj<</Type/XObject/Subtype/Image/Width 512/Height 512/ColorSpace/DeviceRGB/BitsPerComponent 8'
    printf '/Filter/DCTDecode/Length %d>>stream\n' "$(stat -c %s "$work/signed.jpg")"
    cat "$work/signed.jpg"
    printf '\nendstream endobj\ntrailer<</Root 1 0 R>>\n'
} >"$work/document.pdf"
"$vrd" pdf-detect "$work/document.pdf" 2>&1 | grep ', picture 1: Veri-2026x$' >/dev/null
echo "build/$name.tar.gz: from another folder it signs, finds, and finds in a document"
