#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Builds and runs all tests: g++ release, clang with ASan and UBSan, clang with TSan for what uses threads.
# Installs what is missing. The layer check, the header check and the out-of-tree install test are part of the release run.
# test.sh fuzz [MINUTES] runs the fuzz targets instead: all in that time, or each until its goal (fuzz/README.md).
set -euo pipefail
CDPATH="" cd -- "$(dirname -- "$0")"

tools/install_packages.sh test
mkdir -p build
jobs=$(nproc)

if [ "${1:-}" = fuzz ]; then
    for step in "fuzz fuzz-targets" "coverage fuzz-replays"; do
        read -r preset target <<<"$step"
        echo "== $preset: configure and build"
        cmake --preset "$preset" >"build/$preset.log" 2>&1 || { cat "build/$preset.log" >&2; exit 1; }
        cmake --build "build/$preset" --target "$target" >>"build/$preset.log" 2>&1 || { tail -n 80 "build/$preset.log" >&2; exit 1; }
    done
    exec fuzz/run.py ${2:+--minutes "$2"}
fi
tools/install_packages.sh browser

# A locale with a decimal comma, for tests that numbers do not follow it.
export LOCPATH=$PWD/build/locale
mkdir -p "$LOCPATH"
[ -d "$LOCPATH/de_DE.UTF-8" ] || localedef -i de_DE -f UTF-8 "$LOCPATH/de_DE.UTF-8"

# run_suite PRESET TARGET ctest-selection...
run_suite() {
    local preset=$1 target=$2
    shift 2
    echo "== $preset: configure and build"
    cmake --preset "$preset" -DNORVEX_BUILD_TESTS=ON >"build/$preset.log" 2>&1 || { cat "build/$preset.log" >&2; exit 1; }
    cmake --build "build/$preset" --target "$target" >>"build/$preset.log" 2>&1 || { tail -n 80 "build/$preset.log" >&2; exit 1; }
    echo "== $preset: test"
    ctest --test-dir "build/$preset" --parallel "$jobs" --output-on-failure --no-tests=error "$@" \
        >"build/$preset.test.log" 2>&1 || { grep -v ' Passed ' "build/$preset.test.log" | tail -n 200 >&2; exit 1; }
    grep -E 'SKIPPED|\*\*\*Skipped' "build/$preset.test.log" | sort -u || true
    tail -n 12 "build/$preset.test.log" | grep -E 'tests passed|tests failed|Total Test time'
}

run_suite release all -LE 'long|browser'
echo "== release: report pages in a browser"
ctest --test-dir build/release --verbose --no-tests=error -L browser -LE long >build/browser.test.log 2>&1 ||
    { grep -vE '^[0-9]+: (ok|  )' build/browser.test.log | tail -n 200 >&2; exit 1; }
grep -E 'SKIPPED|# SKIP' build/browser.test.log | sort -u || true
tail -n 12 build/browser.test.log | grep -E 'tests passed|tests failed|Total Test time'
echo "== release: every public header compiles on its own"
cmake --build build/release --target all_verify_interface_header_sets >>build/release.log 2>&1 || { tail -n 80 build/release.log >&2; exit 1; }
# The rule of the install test would have to be built with the same sanitizers.
run_suite asan all -LE 'long|browser|install'
run_suite tsan thread-tests -L threads
