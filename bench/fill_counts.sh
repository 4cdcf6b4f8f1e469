#!/bin/sh
# Instruction counts of one call of each rasteriser in fill_bench, ours and the
# peers', under callgrind. Usage: fill_counts.sh path/to/fill_bench [regex]
# The regex selects among the names Once/<rasteriser>/<shape>.
set -e
bench=$1
filter=${2:-.}
out=$(mktemp -d)
QV_FILL_ONCE=1 "$bench" --benchmark_list_tests=true | grep -E "$filter" | while read -r name; do
  QV_FILL_ONCE=1 valgrind --tool=callgrind --collect-atstart=no --callgrind-out-file="$out/cg.out" \
    "$bench" --benchmark_filter="^${name}\$" >/dev/null 2>&1
  printf '%-32s %14s\n' "$name" "$(sed -n 's/^totals: *//p' "$out/cg.out")"
done
rm -rf "$out"
