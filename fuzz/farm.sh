#!/bin/bash
# Fuzzes for HOURS (fractions too) on all cores: every driver in turn, or those named, each for an equal share; then
# minimises what each has collected and reports. Findings lie in build-fuzz/found, with what their driver said.
#
# usage: fuzz/farm.sh HOURS [DRIVER ...]     after cmake --preset fuzz && cmake --build --preset fuzz
set -u
cd "$(dirname "$0")/.." || exit 1
hours=${1:?usage: fuzz/farm.sh HOURS [DRIVER ...]}
shift
drivers=("$@")
[ ${#drivers[@]} -gt 0 ] || drivers=($(basename -s .cpp fuzz/*_fuzz.cpp))
cores=$(nproc)
seconds=$(awk "BEGIN {print int($hours * 3600 * $cores / ${#drivers[@]})}")
[ "$seconds" -ge 1 ] || { echo "that leaves no second for a driver"; exit 2; }

turn() {
  local name=$1 collected=build-fuzz/corpus-$1 kept=build-fuzz/corpus-$1.min log=build-fuzz/found/$1.log
  mkdir -p "$collected" "$kept"
  # One process a driver; -fork goes on after a finding.
  "build-fuzz/$name" -fork=1 -ignore_crashes=1 -ignore_timeouts=1 -ignore_ooms=1 -max_total_time="$seconds" \
    -max_len=8192 -timeout=10 -artifact_prefix="build-fuzz/found/$name-" "$collected" \
    $(ls -d fuzz/corpus/"$name" 2>/dev/null) > "$log" 2>&1
  "build-fuzz/$name" -merge=1 "$kept" "$collected" > "$log.merge" 2>&1 &&
    rm -rf "$collected" && mv "$kept" "$collected"
  printf '%-24s %9s runs, %5s inputs kept, %3s findings\n' "$name" \
    "$(grep -oE '^#[0-9]+' "$log" | tail -n 1 | tr -d '#')" "$(ls "$collected" | wc -l)" \
    "$(find build-fuzz/found -name "$name-*" ! -name '*.log*' | wc -l)"
}
export -f turn
export seconds
mkdir -p build-fuzz/found
printf '%s\n' "${drivers[@]}" | xargs -P "$cores" -I{} bash -c 'turn {}'
[ -z "$(find build-fuzz/found -type f ! -name '*.log*')" ]
