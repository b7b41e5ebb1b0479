#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# clang-tidy and cppcheck over the product's sources (`--all`: clang-tidy over the
# tests' too). A source that passed is not checked again before it, a header that it
# includes or the rules change. What passed is kept in build/; `--record` writes it
# into tools/lint_passed.txt as well, so that a fresh clone checks what changed since.
set -euo pipefail
cd "$(dirname "$0")/.."

# What cppcheck found last time is kept by file.
check_data_flow() {
  mkdir -p build/cppcheck
  cppcheck --quiet -j "$(nproc)" --cppcheck-build-dir=build/cppcheck --language=c++ --std=c++20 \
    -I . --enable=warning,style,performance,portability \
    --suppressions-list=tools/cppcheck_suppressions.txt --error-exitcode=1 \
    --template='{file}:{line}: {severity}: {message} [{id}]' "$@"
}

product=(common simd image tattoo printer filter tools)
folders=("${product[@]}")
record=tools/lint_passed.txt
passed=build/lint-passed
for option in "$@"; do
  case $option in
    --all) folders+=(tests bench) ;;
    --record) : ;;
    *) echo "usage: tools/lint.sh [--all] [--record]" >&2 && exit 2 ;;
  esac
done

# Sources below the folders, tracked and new. Of the benchmarks' own all that is found
# are the benchmark library's macros and its loop variable.
sources_in() {
  git ls-files -co --exclude-standard -- "${@/%//*.cc}" ':!bench/kernels_bench.cc'
}

mapfile -t sources < <(sources_in "${product[@]}")
check_data_flow "${sources[@]}"
mapfile -t sources < <(sources_in "${folders[@]}")
mapfile -t keyed < <(tools/lint_keys.py "${sources[@]}")
mkdir -p "$passed"
todo=()
for line in "${keyed[@]}"; do
  key=${line%% *}
  [ -e "$passed/$key" ] || grep -qs "^$key " "$record" || todo+=("$line")
done

build=build/tidy
check_one() {
  local key=$1 source=$2
  clang-tidy-14 --quiet --warnings-as-errors='*' -p "$build" "$source" 2>/dev/null &&
    touch "$passed/$key"
}
if [ ${#todo[@]} -gt 0 ]; then
  cmake --preset tidy -DCMAKE_CXX_CLANG_TIDY= >/dev/null
  cmake --build "$build" --target generated/tools/drav/driver/models.inc \
    generated/tools/drav/html/page.inc >/dev/null
  export -f check_one
  export passed build
  printf '%s\n' "${todo[@]}" | xargs -P "$(nproc)" -I{} bash -c 'check_one {}'
fi
case " $* " in *" --record "*) printf '%s\n' "${keyed[@]}" >"$record" ;; esac
