# Sourced by the benches: a virtual desktop of their own (Xvfb, openbox, xcompmgr) with a private
# home and XDG directories, stopped with everything started into `pids` when the bench exits.
work=$(mktemp -d)
pids=()
cleanup() {
    for ((i = ${#pids[@]} - 1; i >= 0; i--)); do kill "${pids[i]}" 2>/dev/null || true; done
    wait 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT
exec 3>"$work/displayfd"
Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp -noreset >/dev/null 2>&1 &
pids+=($!)
for _ in $(seq 100); do [ -s "$work/displayfd" ] && break; sleep 0.05; done
export DISPLAY=":$(head -n1 "$work/displayfd")"
export HOME="$work/home" XDG_CONFIG_HOME="$work/config" XDG_RUNTIME_DIR="$work/run"
mkdir -p "$HOME" "$XDG_CONFIG_HOME/Brindlex" "$XDG_RUNTIME_DIR" && chmod 700 "$XDG_RUNTIME_DIR"
openbox >/dev/null 2>&1 & pids+=($!)
xcompmgr >/dev/null 2>&1 & pids+=($!)
sleep 0.5
