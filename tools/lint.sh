#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# cppcheck and clang-tidy over the product (`--all`: clang-tidy over the tests and the
# benchmarks too, each by the rules of its own folder). clang-tidy spends its time on the
# headers that a source includes, so it reads the sources of a folder as one.
set -euo pipefail
cd "$(dirname "$0")/.."

product=(common simd image tattoo printer filter documents proof app tools)
case "${*-}" in
  "" | --all) ;;
  *) echo "usage: tools/lint.sh [--all]" >&2 && exit 2 ;;
esac

# Sources below the folders, tracked and new, the longest first.
sources_in() {
  git ls-files -co --exclude-standard -- "${@/%//*.cc}" | xargs wc -l | sort -rn |
    awk '$2 != "total" { print $2 }'
}

status=0
mapfile -t sources < <(sources_in "${product[@]}")
cppcheck --quiet -j "$(nproc)" --language=c++ --std=c++20 -I . \
  --enable=warning,style,performance,portability \
  --suppressions-list=tools/cppcheck_suppressions.txt --error-exitcode=1 \
  --template='{file}:{line}: {severity}: {message} [{id}]' "${sources[@]}" || status=1

# The kernels are one source for all vectors: one kind is enough to read.
flags=-stdlib=libc++
[ "$(uname -m)" != x86_64 ] || flags+=" -march=haswell -DHWY_BASELINE_TARGETS=HWY_AVX2"

# Configures a build of joined or of single sources, and makes the headers that it includes.
prepare() {
  local build=$1
  shift
  cmake --preset tidy -B "$build" -DCMAKE_CXX_CLANG_TIDY= -DCMAKE_CXX_FLAGS="$flags" "$@" >/dev/null
  cmake --build "$build" --target generated/tools/drav/driver/models.inc \
    generated/tools/drav/html/page.inc generated/app/web/page.inc >/dev/null
}
# Checks the sources named on standard input. Errors of the compiler come on standard error.
tidy() {
  xargs -P "$(nproc)" -n 1 clang-tidy-14 --quiet --warnings-as-errors='*' "$@" \
    2> >(grep -v ' warnings\? generated\.$\|^Suppressed \|^Use -header-filter' >&2)
}

prepare build/tidy -DDRAV_BUILD_TESTS=OFF -DDRAV_JOIN_SOURCES=ON -DCMAKE_UNITY_BUILD=ON \
  -DCMAKE_UNITY_BUILD_BATCH_SIZE=0
folders=$(IFS='|' && echo "${product[*]}")
python3 -c 'import json, sys
for entry in json.load(sys.stdin): print(entry["file"])' <build/tidy/compile_commands.json | sort -u |
  tidy -p build/tidy --checks=-bugprone-suspicious-include \
    --header-filter="/($folders)/(.+/)?[^/]*[.](h|cc)\$" \
    --extra-arg=-Xclang --extra-arg=-analyzer-opt-analyze-headers || status=1
if [ "${1-}" = --all ]; then
  prepare build/tidy-all -DDRAV_BUILD_TESTS=ON -DDRAV_BUILD_BENCH=ON
  sources_in tests bench | tidy -p build/tidy-all || status=1
fi
exit $status
