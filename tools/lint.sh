#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# cppcheck and clang-tidy over the product (`--all`: clang-tidy over the tests and the
# benchmarks too, each by the rules of its own folder).
set -euo pipefail
cd "$(dirname "$0")/.."

product=(common documents simd image tattoo printer filter tools)
folders=("${product[@]}")
case "${*-}" in
  "") ;;
  --all) folders+=(tests bench) ;;
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

build=build/tidy
cmake --preset tidy -DCMAKE_CXX_CLANG_TIDY= -DDRAV_BUILD_TESTS=ON \
  -DDRAV_BUILD_BENCH="$([ "${1-}" = --all ] && echo ON || echo OFF)" >/dev/null
cmake --build "$build" --target generated/tools/drav/driver/models.inc \
  generated/tools/drav/html/page.inc >/dev/null
sources_in "${folders[@]}" |
  xargs -P "$(nproc)" -n 1 clang-tidy-14 --quiet --warnings-as-errors='*' -p "$build" 2>/dev/null ||
  status=1
exit $status
