#!/usr/bin/env bash
# Quick start without a camera: install what is missing, build, start the
# camera simulator on port 8554 and run the demonstration program against it.
set -euo pipefail
cd "$(dirname "$0")/.."
bash tools/install-deps.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
# Only what runs here: the library, the simulator and the demo (test.sh
# builds the rest in the same directory).
cmake --build build -j"$(nproc)" --target kovo-camsim kovo-demo

sim_log=$(mktemp)
build/tools/camsim/kovo-camsim --port 8554 --log --duration 60 >"$sim_log" 2>&1 &
sim=$!
trap 'kill "$sim" 2>/dev/null || true; rm -f "$sim_log"' EXIT
for _ in $(seq 50); do
  grep -q . "$sim_log" 2>/dev/null && break
  (exec 3<>/dev/tcp/127.0.0.1/8554) 2>/dev/null && break
  sleep 0.1
done

echo "== demonstration program against the simulator (Motion-JPEG with audio) =="
# Keys: pan left, right, stop, auxiliary output on, off, then quit. The port
# in the address text overrides the demo's default 554.
{ sleep 3; printf 'lrsof'; sleep 1; printf 'q'; } | build/demo/kovo-demo 127.0.0.1:8554/MJPEG
echo
echo "== what the simulator received (PTZ and auxiliary commands among them) =="
grep -E '^(OPTIONS|DESCRIBE|SETUP|PLAY|PAUSE|SET_PARAMETER|GET_PARAMETER) |^(direction|stop|Aux_Ctrl|EncStream)' "$sim_log" | head -n 60 || true
