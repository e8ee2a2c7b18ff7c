#!/usr/bin/env bash
# Times a three-word query over 100,000 and 1,000,000 folder paths: Dowsel's search (in
# process, on a prepared snapshot) against `fzf --filter` on the same list (best and median
# of 5 runs, including fzf reading its input). Usage: bench/search_vs_fzf.sh [build-dir]
set -euo pipefail

build=${1:-build}
searcher="$build/bench/folder_search"
query="doc proj inv"
runs=5
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

for count in 100000 1000000; do
    "$searcher" --write="$work/paths-$count.txt" --count=$count
    times=()
    for ((r = 0; r < runs; r++)); do
        start=$(date +%s%N)
        matches=$(fzf --filter "$query" <"$work/paths-$count.txt" | wc -l)
        end=$(date +%s%N)
        times+=($(((end - start) / 1000000)))
    done
    sorted=$(printf '%s\n' "${times[@]}" | sort -n)
    printf 'fzf --filter, %7d paths: %6d matches   best %5d ms   median %5d ms\n' "$count" "$matches" \
        "$(sed -n 1p <<<"$sorted")" "$(sed -n 3p <<<"$sorted")"
done

"$searcher" --benchmark_repetitions=$runs --benchmark_report_aggregates_only=true
