#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# clang-tidy and cppcheck over the product's sources that changed: that differ from
# the upstream branch (from the commit before, when all is pushed), or include a
# header that does; without history, over all of the product's. `--all`: over every
# source, clang-tidy over the tests' too. A file that passed is not checked again
# before it, a header or the rules change.
set -euo pipefail
cd "$(dirname "$0")/.."
folders=(common image tattoo printer filter tools)
[ "${1-}" = --all ] && folders+=(tests bench)

# The commit to compare with; fails where there is none.
base_commit() {
  local base
  if base=$(git merge-base HEAD '@{upstream}' 2>/dev/null) &&
    [ "$base" != "$(git rev-parse HEAD)" ]; then
    echo "$base"
  else
    git rev-parse --quiet --verify 'HEAD^'
  fi
}

# Tracked and new files below the folders, by suffix.
files() { git ls-files -co --exclude-standard -- "${folders[@]/%//*.$1}"; }

# The given files and what includes them, directly or through other headers.
with_includers() {
  local known=$1 found every
  mapfile -t every < <(files h && files cc)
  while :; do
    found=$(printf '%s\n' "$known" | sed -n 's|.*\.h$|#include "&"|p' |
      grep -lFf - "${every[@]}" || true)
    found=$(printf '%s\n' "$known" "$found" | sed '/^$/d' | sort -u)
    [ "$found" = "$known" ] && break
    known=$found
  done
  printf '%s\n' "$known"
}

changed_sources() {
  local changed
  changed=$({ git diff --name-only "$1"; git ls-files -o --exclude-standard; } | sort -u)
  # Other rules concern all sources.
  if grep -qx '\.clang-tidy' <<<"$changed"; then
    files cc
  else
    with_includers "$changed" | grep -Fxf <(files cc) || true
  fi
}

# What cppcheck found last time is kept by file.
check_data_flow() {
  mkdir -p build/cppcheck
  cppcheck --quiet -j "$(nproc)" --cppcheck-build-dir=build/cppcheck --language=c++ --std=c++20 \
    -I . --enable=warning,style,performance,portability \
    --suppressions-list=tools/cppcheck_suppressions.txt --error-exitcode=1 \
    --template='{file}:{line}: {severity}: {message} [{id}]' "$@"
}

if [ "${1-}" != --all ] && base=$(base_commit); then
  mapfile -t sources < <(changed_sources "$base")
else
  mapfile -t sources < <(files cc)
fi
[ ${#sources[@]} -gt 0 ] || exit 0
build=build/tidy
cmake --preset tidy -DCMAKE_CXX_CLANG_TIDY= >/dev/null
cmake --build "$build" --target generated/tools/drav/driver/models.inc \
  generated/tools/drav/html/page.inc >/dev/null
passed=build/lint-passed
mkdir -p "$passed"
mapfile -t product < <(printf '%s\n' "${sources[@]}" | grep -v '^tests/')
check_data_flow "${product[@]}"
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
