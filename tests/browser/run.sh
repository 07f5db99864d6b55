#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Makes report pages and drives Chromium through them. Usage: run.sh MAKE_PAGE WORK_FOLDER [MODEL.ifc ...]
# Screenshots and the pages stay in the work folder.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
make_page=$1
work=$2
shift 2

for program in chromium node npm; do
    if ! command -v "$program" >/dev/null; then
        echo "SKIPPED $program is not installed; tools/install_packages.sh browser installs it"
        exit 0
    fi
done

mkdir -p "$work/screenshots"
cp "$here"/package.json "$here"/package-lock.json "$here"/*.mjs "$work/"
cd "$work"
if ! cmp -s package-lock.json node_modules/.installed; then
    if ! npm ci --no-audit --no-fund >npm.log 2>&1; then
        cat npm.log
        echo "SKIPPED npm could not install playwright-core"
        exit 0
    fi
    cp package-lock.json node_modules/.installed
fi
for page in showcase large empty; do
    "$make_page" "$page" "$work/$page.html" >"$work/$page.tsv"
done
rm -f model-*.html
for model in "$@"; do
    # Real models lie beside the checkout and may be missing.
    if [ -f "$model" ]; then
        "$make_page" "$model" "$work/model-$(basename "$model" .ifc).html"
    else
        echo "without $model, which is not there"
    fi
done
exec node --test report_page.test.mjs
