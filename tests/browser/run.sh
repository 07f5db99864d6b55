#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Drives Chromium through report pages. Usage: run.sh WORK_FOLDER TEST.mjs ...
# The tests learn from the environment what to make their pages with: NORVEX, NORVEX_SAMPLE, MAKE_PAGE, SAMPLES,
# NORVEX_SHARED.
# The pages and the screenshots stay in the work folder.
set -euo pipefail
here=$(CDPATH="" cd -- "$(dirname -- "$0")" && pwd)
work=$1
shift

for program in chromium node npm; do
    if ! command -v "$program" >/dev/null; then
        echo "SKIPPED $program is not installed, so no report page was opened; tools/install_packages.sh browser installs it"
        exit 0
    fi
done

mkdir -p "$work/screenshots"
cp "$here"/package.json "$here"/package-lock.json "$here"/*.mjs "$work/"
cd "$work"
if ! cmp -s package-lock.json node_modules/.installed; then
    # Without a network npm would try again for minutes.
    if ! timeout 90 npm ci --no-audit --no-fund --fetch-retries=1 --fetch-timeout=20000 >npm.log 2>&1; then
        cat npm.log
        echo "SKIPPED npm could not install playwright-core, so no report page was opened; its registry must be in reach"
        exit 0
    fi
    cp package-lock.json node_modules/.installed
fi
exec node --test "$@"
