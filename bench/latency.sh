#!/usr/bin/env bash
# Invocation latency and idle cost of the real program on a virtual desktop (Xvfb, openbox,
# xcompmgr), release build:
#   1. hold key, hot key and --toggle: invocation to first frame presented, p50/p95 over N
#      openings (the program's own --trace timings), with the default scene graph and the
#      software one; frames presented during the opening animation;
#   2. `valimbra --toggle` against `rofi -show window`, command to first pixels on screen
#      (../shared/tools/showlatency.py, same session, same method);
#   (Valimbra draws with the software scene graph unless QT_QUICK_BACKEND says otherwise.)
#   3. idle while hidden for IDLE seconds with 50 running applications: wake-ups, CPU, RSS.
#   bench/latency.sh [BUILD_DIR] [N] [IDLE]
# VALIMBRA_BENCH_PARTS chooses among "trace pixels idle" (all by default).
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/release}
runs=${2:-100}
idle=${3:-60}
bin=$(realpath "$build/src/app/valimbra")
showlatency=$(realpath ../shared/tools/showlatency.py 2>/dev/null || true)

source bench/desktop.sh # the scripts run from the repository root
for i in $(seq 1 14); do xlogo -geometry 60x60+$((i * 70))+600 >/dev/null 2>&1 & pids+=($!); done
xterm -geometry 80x20+100+100 >/dev/null 2>&1 & pids+=($!)
sleep 1

percentiles() { # label, then values on stdin
    sort -n | awk -v label="$1" '{ v[NR] = $1 } END {
        if (NR == 0) { printf "%-34s no samples\n", label; exit }
        p50 = v[int((NR + 1) * 0.5)]; p95 = v[int(NR * 0.95 + 0.5)]; if (p95 == "") p95 = v[NR]
        printf "%-34s p50 %6.2f ms  p95 %6.2f ms  (n %d)\n", label, p50, p95, NR }'
}

start_valimbra() { # backend, settings lines...
    local backend=$1; shift
    printf '[General]\nvalimbra.hasSeenOnboarding=true\n' >"$XDG_CONFIG_HOME/Brindlex/Valimbra.conf"
    for line in "$@"; do echo "$line" >>"$XDG_CONFIG_HOME/Brindlex/Valimbra.conf"; done
    QT_QUICK_BACKEND=$backend "$bin" --trace --no-tray >"$work/trace.log" 2>&1 &
    vpid=$!
    for _ in $(seq 100); do
        sleep 0.1
        if "$bin" --toggle >/dev/null 2>&1; then "$bin" --toggle >/dev/null; break; fi
    done
    sleep 0.6
    : >"$work/trace.log"
}
stop_valimbra() { "$bin" --quit >/dev/null 2>&1 || true; wait "$vpid" 2>/dev/null || true; }

measure() { # label, command that opens, command that closes
    local label=$1 open=$2 close=$3
    : >"$work/trace.log"
    for _ in $(seq "$runs"); do
        eval "$open"; sleep 0.25; eval "$close"; sleep 0.5
    done
    grep -ao 'to first frame [0-9.]*' "$work/trace.log" | awk '{ print $4 }' | percentiles "$label"
    grep -ao 'opening animation [0-9]* frames in [0-9]* ms ([0-9]* at 60 Hz)' "$work/trace.log" |
        awk -v label="$label" '{ f += $3; e += $7 + 0; gsub(/\(/, "", $8); x += $8; n++ }
            END { if (n) printf "%-34s opening animation: %.1f frames presented, %.1f expected at 60 Hz\n", label, f / n, x / n }'
}

parts=${VALIMBRA_BENCH_PARTS:-trace pixels idle}
xdotool mousemove 640 400
[[ " $parts " == *" trace "* ]] && for backend in software rhi; do
    name=$backend
    start_valimbra "$backend"
    measure "hold key ($name)" "xdotool keydown ctrl sleep 0.32 keyup ctrl" "xdotool key Escape"
    measure "--toggle ($name)" "'$bin' --toggle" "'$bin' --toggle"
    stop_valimbra
    start_valimbra "$backend" "valimbra.invokeMode=shortcut" "valimbra.recordedKeyCode=49" \
        "valimbra.recordedModifiers=786432"
    measure "hot key Ctrl+Alt+Space ($name)" "xdotool key ctrl+alt+space" "xdotool key Escape"
    stop_valimbra
done

py=/usr/bin/python3 # the Debian interpreter, which has python3-xlib
if [[ " $parts " == *" pixels "* ]] && [ -n "$showlatency" ] && $py -c 'import Xlib' 2>/dev/null; then
    # A small region at the screen centre, which both windows cover: the tool compares every
    # pixel of the region in Python at each poll, so a large region makes the poll itself the
    # resolution of the measurement (about 15 ms for the default 240 x 240).
    region=620,380,40,40
    echo "command to first pixels (showlatency.py --region $region, ${runs} runs each):"
    start_valimbra software
    echo -n "  valimbra --toggle: "
    $py "$showlatency" --runs "$runs" --region "$region" --close "'$bin' --toggle; sleep 0.5" -- "$bin" --toggle | tail -n1
    stop_valimbra
    if command -v rofi >/dev/null; then
        echo -n "  rofi -show window: "
        $py "$showlatency" --runs "$runs" --region "$region" -- rofi -show window | tail -n1
    fi
fi

[[ " $parts " == *" idle "* ]] || exit 0
echo "idle while hidden, ${idle} s, 50 running applications:"
for i in $(seq 1 35); do xlogo -geometry 40x40+$((i * 30))+700 >/dev/null 2>&1 & pids+=($!); done
sleep 2
start_valimbra software
sleep 3
pid=$(pgrep -n -f valimbra-session || true)
[ -z "$pid" ] && pid=$vpid
read -r t0 < <(awk '{ print $14 + $15 }' "/proc/$pid/stat")
w0=$(awk '/^voluntary_ctxt_switches/ { v = $2 } /^nonvoluntary_ctxt_switches/ { n = $2 } END { print v + n }' /proc/$pid/task/*/status | paste -sd+ | bc)
sleep "$idle"
read -r t1 < <(awk '{ print $14 + $15 }' "/proc/$pid/stat")
w1=$(awk '/^voluntary_ctxt_switches/ { v = $2 } /^nonvoluntary_ctxt_switches/ { n = $2 } END { print v + n }' /proc/$pid/task/*/status | paste -sd+ | bc)
rss=$(awk '/^VmRSS/ { print $2 }' "/proc/$pid/status")
hz=$(getconf CLK_TCK)
awk -v t="$((t1 - t0))" -v hz="$hz" -v s="$idle" -v w="$((w1 - w0))" -v rss="$rss" 'BEGIN {
    printf "  CPU %.3f %%, %d context switches (all threads), RSS %.1f MB\n", 100 * t / hz / s, w, rss / 1024 }'
stop_valimbra
