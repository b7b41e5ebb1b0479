#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Makes tests/golden/digests.tsv anew with the plain model of tests/model; the
# product has no part in it. `--check` makes nothing and fails when the table is
# another one. A changed digest is a commit of its own, with the reason.
set -euo pipefail
cd "$(dirname "$0")/.."

table=tests/golden/digests.tsv
cmake --preset release >/dev/null
cmake --build --preset release --target model_digests >/dev/null
made=$(mktemp)
trap 'rm -f "$made"' EXIT
build/release/bin/model_digests >"$made"
case "${1-}" in
  --check) diff "$table" "$made" ;;
  "") if cmp -s "$made" "$table"; then echo "$table: unchanged"; else
    cp "$made" "$table"
    echo "$table: $(grep -vc '^#' "$table") jobs"
  fi ;;
  *)
    echo "usage: ${0##*/} [--check]" >&2
    exit 2
    ;;
esac
