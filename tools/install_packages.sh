#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Installs the Debian packages that are missing. Usage: tools/install_packages.sh build|test|bench|browser
set -euo pipefail

build=(g++ cmake ninja-build libboost-dev libicu-dev libxml2-dev libsqlite3-dev libssl-dev libfmt-dev nlohmann-json3-dev libcli11-dev zlib1g-dev
    pkgconf libcairo2-dev libpng-dev libzip-dev)
test=(abigail-tools clang libclang-rt-dev llvm libgtest-dev locales python3 python3-jsonschema python3-rfc3987)
bench=(libbenchmark-dev liblemon-dev)
# What the tests of the report page drive; the fonts let screenshots show Chinese.
browser=(chromium fonts-noto-cjk)
# Node.js may come from elsewhere than Debian, and then brings its own npm.
command -v node >/dev/null || browser+=(nodejs)
command -v npm >/dev/null || browser+=(npm)

case "${1:-}" in
    build) wanted=("${build[@]}") ;;
    test) wanted=("${build[@]}" "${test[@]}") ;;
    browser) wanted=("${browser[@]}") ;;
    bench) wanted=("${build[@]}" "${bench[@]}") ;;
    *)
        echo "usage: $0 build|test|bench|browser" >&2
        exit 2
        ;;
esac

missing=()
for package in "${wanted[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed'; then
        missing+=("$package")
    fi
done
if [ ${#missing[@]} -eq 0 ]; then
    exit 0
fi
if [ "$(id -u)" -ne 0 ]; then
    echo "These packages are missing and only root can install them: apt-get install ${missing[*]}" >&2
    exit 2
fi
echo "Installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
apt-get update -qq
apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
