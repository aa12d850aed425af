#!/usr/bin/env bash
# Fails, naming the files, when a committed C++ file differs from what
# clang-format makes of it with the project's .clang-format. Run
# `clang-format -i FILE` on each file named to fix it.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
cd "$root"
unformatted=()
while IFS= read -r -d '' file; do
  [ -f "$file" ] || continue
  if ! clang-format --dry-run --Werror "$file" >/dev/null 2>&1; then unformatted+=("$file"); fi
done < <(git ls-files -z -- '*.cpp' '*.h' '*.inc')
if [ ${#unformatted[@]} -gt 0 ]; then
  echo "Not formatted with clang-format (run clang-format -i on them):" >&2
  printf '  %s\n' "${unformatted[@]}" >&2
  exit 1
fi
