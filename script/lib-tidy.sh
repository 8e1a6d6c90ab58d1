#!/usr/bin/env bash
# For script/check: runs clang-tidy over one source, unless it has been clean since its object was last compiled.
#
# Usage: script/lib-tidy.sh SOURCE OBJECT

set -euo pipefail
source=$1
object=build/clang/$2
stamp=build/clang/tidy/$source.clean

if [[ $stamp -nt $object && $stamp -nt .clang-tidy && $stamp -nt tests/.clang-tidy ]]; then
  exit 0
fi
mkdir -p "$(dirname "$stamp")"
rm -f "$stamp"
started=$(mktemp)
trap 'rm -f "$started"' EXIT

if output=$(clang-tidy-14 --quiet -p build/clang "$source" 2>/dev/null); then
  mv "$started" "$stamp"
else
  printf '%s\n' "${output:-$source: clang-tidy failed without a message}"
fi
