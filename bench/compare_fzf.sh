#!/usr/bin/env bash
# Compares valimbra-search with `fzf --filter` on the same 100 000 generated names, for the
# queries search_bench uses for each stage. Prints a Markdown table.
#
#   bench/compare_fzf.sh [BUILD_DIR]     (default build/release; needs search_bench and
#                                         valimbra-search built there, and fzf; hyperfine is
#                                         used when installed)
#   RUNS=20 bench/compare_fzf.sh ...     (timed runs per command, default 10)
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build/release}
runs=${RUNS:-10}
bench=$build/bench/search_bench
tool=$build/tools/search/valimbra-search
for f in "$bench" "$tool"; do
    [ -x "$f" ] || { echo "[Valimbra] missing $f: build search_bench and valimbra-search first" >&2; exit 2; }
done
command -v fzf >/dev/null || { echo "[Valimbra] fzf is not installed" >&2; exit 2; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
names=$work/names.txt
"$bench" --dump-names "$names" 100000 >"$work/queries.tsv"

# Mean wall time in milliseconds of a shell command that reads the query from $Q.
wall_ms() {
    if command -v hyperfine >/dev/null; then
        hyperfine --style none --ignore-failure --warmup 2 --runs "$runs" \
            --export-json "$work/h.json" "$1" >/dev/null 2>&1
        python3 -c 'import json,sys; print("%.1f" % (json.load(open(sys.argv[1]))["results"][0]["mean"]*1000))' "$work/h.json"
    else
        local start end
        bash -c "$1" || true # warm-up
        start=$(date +%s%N)
        for _ in $(seq "$runs"); do bash -c "$1" || true; done
        end=$(date +%s%N)
        echo "scale=1; ($end - $start) / 1000000 / $runs" | bc
    fi
}

echo "| Stage | Query | valimbra results | valimbra search (median µs) | valimbra process (ms) | fzf results | fzf --filter (ms) | search faster than fzf |"
echo "|---|---|---|---|---|---|---|---|"
while IFS=$'\t' read -r -u 3 stage query; do
    export Q=$query NAMES=$names
    # The same query $runs times in one process: the per-query search time, median.
    args=()
    for _ in $(seq "$runs"); do args+=("$query"); done
    "$tool" --time "$names" "${args[@]}" | awk -F'\t' '$1 == "#" { print $3 "\t" $4 }' >"$work/times"
    ours_count=$(head -1 "$work/times" | cut -f1)
    ours_us=$(cut -f2 "$work/times" | sort -g | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }')
    ours_process=$(wall_ms '"'"$tool"'" "$NAMES" "$Q" >/dev/null')
    fzf_count=$( (fzf --filter "$query" <"$names" || true) | wc -l) # fzf exits 1 on no match
    fzf_ms=$(wall_ms 'fzf --filter "$Q" <"$NAMES" >/dev/null')
    faster=$(awk -v a="$ours_us" -v b="$fzf_ms" 'BEGIN { printf "%s (%.0f×)", (a / 1000 < b ? "yes" : "no"), b * 1000 / a }')
    echo "| $stage | \`$query\` | $ours_count | $ours_us | $ours_process | $fzf_count | $fzf_ms | $faster |"
done 3<"$work/queries.tsv"
echo
echo "valimbra process = reading the file, building the index and one search; fzf = reading and"
echo "filtering. $(nproc) cores; $runs runs per command$(command -v hyperfine >/dev/null && echo ' (hyperfine)')."
