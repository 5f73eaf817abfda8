#!/usr/bin/env bash
# What long runs of the fuzz targets have found, kept small: a packed folder for each target in fuzz/corpora.
#
#   fuzz/corpora.sh unpack FOLDER   puts the inputs of each target below FOLDER, and the times of long_run.py; what
#                                   is there stays
#   fuzz/corpora.sh keep FOLDER     keeps these times, and those inputs that take a target to a place in the code
#                                   which neither seeds nor real films come to; needs the targets in build/fuzz/fuzz
set -euo pipefail

here=$(dirname "${BASH_SOURCE[0]}")
kept=$here/corpora

unpack() {
  local packed name
  for packed in "$kept"/*.tar.xz; do
    name=$(basename "$packed" .tar.xz)
    mkdir -p "$1/$name"
    tar -xJf "$packed" -C "$1/$name" --skip-old-files
  done
  [[ -e $1/times.csv ]] || cp "$kept/times.csv" "$1"
}

# The inputs that are committed elsewhere stand in the folder while the others are added to it.
keep() {
  local target name seeds
  work=$(mktemp -d)
  trap 'rm -rf "$work"' EXIT
  mkdir -p "$kept"
  [[ ! -e $1/times.csv ]] || cp "$1/times.csv" "$kept"
  for target in build/fuzz/fuzz/ktmp4_fuzz_*; do
    name=${target##*/ktmp4_fuzz_}
    mkdir "$work/$name"
    seeds=("$here/seeds/$name"/*)
    case $name in file | play | hinting | adapt) seeds+=(tests/media/*.*) ;; esac
    cp "${seeds[@]}" "$work/$name"
    "$target" -set_cover_merge=1 -use_counters=0 -max_len=65536 -rss_limit_mb=4096 "$work/$name" "$1/$name" \
      >"$work/told" 2>&1 || { tail -n 20 "$work/told" >&2; exit 1; }
    (cd "$work/$name" && rm "${seeds[@]##*/}")
    tar -C "$work/$name" --sort=name --mtime=@0 --owner=0 --group=0 --numeric-owner -cf - . |
      xz -9e >"$kept/$name.tar.xz"
    printf '%s: %d inputs in %d bytes\n' "$name" "$(find "$work/$name" -type f | wc -l)" \
      "$(stat -c %s "$kept/$name.tar.xz")"
  done
}

usage() {
  sed -n '4,7s/^# \{0,1\}//p' "$0" >&2
  exit 2
}

[[ $# == 2 ]] || usage
case $1 in
  unpack) unpack "$2" ;;
  keep) keep "$2" ;;
  *) usage ;;
esac
