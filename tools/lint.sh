#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# clang-tidy and cppcheck over the product's sources (`--all`: the tests' too). A
# file that passed is not checked again before it, a header or the rules change.
set -euo pipefail
cd "$(dirname "$0")/.."

# What cppcheck found last time is kept by file.
check_data_flow() {
  mkdir -p build/cppcheck
  cppcheck --quiet --cppcheck-build-dir=build/cppcheck --language=c++ --std=c++20 -I . \
    --enable=warning,style,performance,portability \
    --suppressions-list=tools/cppcheck_suppressions.txt --error-exitcode=1 \
    --template='{file}:{line}: {severity}: {message} [{id}]' "$@"
}

build=build/tidy
folders=(common image tattoo printer filter tools)
[ "${1-}" = --all ] && folders+=(tests bench)
cmake --preset tidy -DCMAKE_CXX_CLANG_TIDY= >/dev/null
cmake --build "$build" --target generated/tools/drav/driver/models.inc \
  generated/tools/drav/html/page.inc >/dev/null
passed=build/lint-passed
mkdir -p "$passed"
mapfile -t sources < <(git ls-files -co --exclude-standard -- "${folders[@]/%//*.cc}")
check_data_flow "${sources[@]}"
rules=$(git ls-files -co --exclude-standard -- '*.h' .clang-tidy | sort | xargs sha256sum | sha256sum)

check_one() {
  local source=$1 key
  key=$passed/$(printf '%s %s' "$rules" "$(sha256sum "$source")" | sha256sum | cut -c1-32)
  [ -e "$key" ] && return 0
  clang-tidy-14 --quiet --warnings-as-errors='*' -p "$build" "$source" 2>/dev/null && touch "$key"
}
export -f check_one
export rules passed build
printf '%s\n' "${sources[@]}" | xargs -P "$(nproc)" -I{} bash -c 'check_one {}'
