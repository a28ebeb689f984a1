#!/usr/bin/env bash
# Formats the C++ sources with .clang-format. With --check, changes nothing and fails when a
# file is not formatted. Extra arguments limit it to those files.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
mode=(-i)
if [ "${1:-}" = "--check" ]; then
  mode=(--dry-run -Werror)
  shift
fi
if [ $# -gt 0 ]; then
  files=("$@")
else
  mapfile -t files < <(git ls-files '*.cc' '*.h')
fi
printf '%s\n' "${files[@]}" | xargs -r -n 50 clang-format "${mode[@]}" --style=file
