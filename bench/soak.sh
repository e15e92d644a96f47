#!/usr/bin/env bash
# Soak: thousands of openings, searches and switches through the real program on a virtual
# desktop (Xvfb, openbox, xcompmgr, a few applications), sampling its resident size.
#   bench/soak.sh [BUILD_DIR] [ITERATIONS] [SAMPLE_EVERY]
# Each iteration opens the switcher (valimbra --toggle) and then, in turn: types a letter and
# switches to the best match with Return; moves on with Tab and switches; closes with Escape;
# closes with --toggle. With the asan build (BUILD_DIR=build/asan) AddressSanitizer and
# LeakSanitizer report on the way and at the exit; the report is printed at the end.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/release}
iterations=${2:-10000}
every=${3:-500}
bin=$(realpath "$build/src/app/valimbra")

source bench/desktop.sh # the scripts run from the repository root
for geometry in 80x20+40+40 80x20+600+300; do xterm -geometry "$geometry" >/dev/null 2>&1 & pids+=($!); done
xclock >/dev/null 2>&1 & pids+=($!)
xeyes >/dev/null 2>&1 & pids+=($!)
xcalc >/dev/null 2>&1 & pids+=($!)
sleep 1
printf '[General]\nvalimbra.hasSeenOnboarding=true\n' >"$XDG_CONFIG_HOME/Brindlex/Valimbra.conf"

# Leaks of the libraries below us (fontconfig's caches, the X and GL client libraries) that
# they keep until the process ends are theirs, not ours.
cat >"$work/lsan.supp" <<'SUPP'
leak:libfontconfig
leak:libX11
leak:libxcb
leak:libGLX
leak:libEGL
leak:libdbus
SUPP
# No session bus: libdbus would fork to autolaunch one, and a child forked while another thread
# holds AddressSanitizer's allocator lock hangs.
export DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent/bus
export ASAN_OPTIONS="detect_leaks=1:abort_on_error=0:halt_on_error=0:log_path=$work/asan"
export LSAN_OPTIONS="suppressions=$work/lsan.supp:print_suppressions=0"
export UBSAN_OPTIONS="print_stacktrace=1:log_path=$work/ubsan"
"$bin" --no-tray --trace >"$work/valimbra.log" 2>&1 &
vpid=$!
pids+=($vpid)
for _ in $(seq 300); do "$bin" --toggle >/dev/null 2>&1 && break; sleep 0.1; done
"$bin" --toggle >/dev/null 2>&1 || true

rss() { awk '/^VmRSS:/ { print $2 }' "/proc/$vpid/status"; }
echo "iteration rss_kb"
start=$(date +%s)
for ((i = 1; i <= iterations; i++)); do
    "$bin" --toggle >/dev/null 2>&1 || true
    case $((i % 4)) in
    0) xdotool type --delay 0 x && xdotool key --delay 0 Return ;;
    1) xdotool key --delay 0 Tab Return ;;
    2) xdotool key --delay 0 Escape ;;
    3) "$bin" --toggle >/dev/null 2>&1 || true ;;
    esac
    if ((i % every == 0)); then echo "$i $(rss)"; fi
done
elapsed=$(($(date +%s) - start))
sleep 1
openings=$(grep -c "to first frame" "$work/valimbra.log" || true)
"$bin" --quit >/dev/null 2>&1 || true
for _ in $(seq 300); do kill -0 "$vpid" 2>/dev/null || break; sleep 0.1; done
status=0
wait "$vpid" || status=$?
echo "iterations $iterations in ${elapsed} s; openings drawn $openings; exit status $status"
reports=$(cat "$work"/asan.* "$work"/ubsan.* 2>/dev/null || true)
if [ -n "$reports" ]; then
    echo "sanitizer reports:"
    echo "$reports" | head -200
    exit 1
fi
echo "sanitizer reports: none"
