#!/usr/bin/env bash
# Searches 100 000 real package names (Debian's binary and source packages) with queries that match
# thousands of them.   bench/many_matches.sh [BUILD_DIR]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/release}
names=$(mktemp)
trap 'rm -f "$names"' EXIT
apt-cache pkgnames | sort -u >"$names"
# Debian has about 64 000 names; the rest are Debian's source package names and, where those
# do not reach 100 000, numbered variants of real names (as versioned packages are named).
apt-cache dumpavail 2>/dev/null | awk '/^Source:/ { print $2 }' | sort -u >>"$names" || true
sort -u -o "$names" "$names"
have=$(wc -l <"$names")
if [ "$have" -lt 100000 ]; then
    awk -v need=$((100000 - have)) '{ a[NR] = $0 } END {
        for (i = 0; i < need; i++) print a[i % NR + 1] (int(i / NR) + 2) }' "$names" >>"$names.more"
    cat "$names.more" >>"$names" && rm -f "$names.more"
fi
head -n 100000 "$names" >"$names.head" && mv "$names.head" "$names"
echo "[Valimbra] $(wc -l <"$names") names"
VALIMBRA_BENCH_NAMES=$names "$build/bench/search_bench" --benchmark_filter=BM_SearchManyMatches \
    --benchmark_repetitions=5 --benchmark_report_aggregates_only=true
