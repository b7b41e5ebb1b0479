#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The quick checks at the desk, without a build: format, scripts, licence lines.
# `tools/check.sh --fix` formats instead of complaining.
set -euo pipefail
cd "$(dirname "$0")/.."

mapfile -t sources < <(git ls-files -co --exclude-standard -- '*.cc' '*.h')
if [ "${1-}" = --fix ]; then
  clang-format-14 -i "${sources[@]}"
else
  clang-format-14 --dry-run --Werror "${sources[@]}"
fi

mapfile -t scripts < <(git ls-files -co --exclude-standard -- scripts .ci '*.sh')
shellcheck -x "${scripts[@]}"

mapfile -t python < <(git ls-files -co --exclude-standard -- '*.py')
python3 - "${python[@]}" <<'PY'
import ast
import sys

for path in sys.argv[1:]:
    with open(path, encoding="utf-8") as source:
        ast.parse(source.read(), path)
PY

status=0
while IFS= read -r file; do
  if ! head -n 3 "$file" | grep -q 'SPDX-License-Identifier: Apache-2.0'; then
    echo "$file: no SPDX line in its first three lines" >&2
    status=1
  fi
done < <(git ls-files -co --exclude-standard -- '*.cc' '*.h' '*.py' '*.sh' '*.cmake' '*CMakeLists.txt' '*.drv' '*.defs' '*.po' \
  '*.html' '*.css' '*.js' '*.mjs' scripts .ci)
exit $status
