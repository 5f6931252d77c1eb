#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-2.0-or-later
# Opens pages as their readers do: in a browser, which must have nothing to say of them, on paper, and as XML.
#   page.sh COMMAND
set -euo pipefail
cd "$(dirname "$0")/../.."
source tests/support/need.sh
command=$1
need chromium pdftotext

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# It ends with the bits of the verdicts.
"$command" check --html -o "$work/tower.html" --machine samples/machines/tower || [[ $? -eq 24 ]]
"$command" check --html -o "$work/laptop.html" --machine samples/machines/laptop || [[ $? -eq 32 ]]
# A page that breaks its own policy, so that a silent browser is known to have looked.
sed 's|<main>|&<img src="other.png"/>|' "$work/laptop.html" >"$work/broken.html"

browse() {
    chromium --headless --no-sandbox --disable-gpu --disable-background-networking --disable-component-update \
        --disable-sync --no-first-run --user-data-dir="$work/profile" --enable-logging=stderr "$@" 2>"$work/log"
}
said() {
    grep CONSOLE "$work/log" || true
}

for page in tower laptop; do
    /usr/bin/python3 -c 'import sys, xml.dom.minidom as xml; xml.parse(sys.argv[1])' "$work/$page.html"
    browse --dump-dom "file://$work/$page.html" >"$work/dom"
    [[ -z "$(said)" ]] || { echo "the browser on $page: $(said)"; exit 1; }
    grep -q '</footer>' "$work/dom" || { echo "$page was not opened"; exit 1; }
done
browse --dump-dom "file://$work/broken.html" >"$work/dom"
[[ "$(said)" == *"Content Security Policy"* ]] || { echo "the policy lets an image in: $(said)"; exit 1; }

# What is folded on a screen is open on paper.
browse --print-to-pdf="$work/tower.pdf" --no-pdf-header-footer "file://$work/tower.html"
pdftotext -layout "$work/tower.pdf" "$work/tower.txt"
for folded in 'Total time' '00000000: ' 'Media Wearout'; do
    grep -q "$folded" "$work/tower.txt" || { echo "not on paper: $folded"; exit 1; }
done
