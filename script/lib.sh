# shellcheck shell=bash
# Shared by the scripts. Sourced, never run; the caller has set -euo pipefail.

export LC_ALL=C
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# shellcheck disable=SC2034  # for the scripts that source this file
jobs=$(nproc)

# die MESSAGE: says in one line why the script cannot go on, and ends it.
die() {
  printf '%s: %s\n' "${0##*/}" "$1" >&2
  exit 1
}

# show_help: prints the comment block at the head of the calling script.
show_help() {
  awk 'NR == 1 { next } !/^#/ { exit } { sub(/^# ?/, ""); print }' "$0"
}

# project_version: the version in CMakeLists.txt, the one place where it stands.
project_version() {
  sed -nE 's/^project\(CVHost VERSION ([0-9.]+) .*/\1/p' "$root/CMakeLists.txt"
}

# project_files: the files of the project, ended by NUL; without a repository, all but the build folder.
project_files() {
  if [[ $(git -C "$root" rev-parse --show-toplevel 2>/dev/null) == "$root" ]]; then
    git -C "$root" ls-files -z --cached --others --exclude-standard | while IFS= read -r -d '' file; do
      if [[ -e $root/$file ]]; then
        printf '%s\0' "$file"
      fi
    done
  else
    (cd "$root" && find . -path ./build -prune -o -type f -printf '%P\0')
  fi
}

# build_preset PRESET [TARGET...]: configures and builds as much as possible. Prints one line, and on failure the tools'
# output.
build_preset() {
  local preset=$1 target targets=() log started=$SECONDS
  shift
  for target in "$@"; do
    targets+=(--target "$target")
  done
  log=$root/build/$preset.log
  mkdir -p "$root/build"
  printf 'building %s ... ' "$preset"
  if (
    cd "$root"
    cmake --preset "$preset"
    cmake --build --preset "$preset" --parallel "$jobs" "${targets[@]}" -- -k 0
  ) >"$log" 2>&1 </dev/null; then
    printf 'done, %s s\n' "$((SECONDS - started))"
  else
    printf 'failed\n'
    grep -vE '^\[[0-9]+/[0-9]+\] (Building|Linking|Creating) |^-- ' "$log" >&2 || true
    return 1
  fi
}
