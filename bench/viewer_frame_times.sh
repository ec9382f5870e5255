#!/usr/bin/env bash
# Frame times of the viewer while panning across a record of 12 channels of 10 million
# samples, with real input on a virtual X server: the time graphs zoomed in to 1/25 of the
# record, then panned with the time axis' Right key and by dragging its scroll thumb. The
# viewer's frame-time log gives every frame; this prints the median and 99th percentile of
# the frames of the panning, and the viewer's peak memory beside the record's size.
#
#   bench/viewer_frame_times.sh BUILD_DIR [WIDTHxHEIGHT]    (1920x1080 by default)
set -euo pipefail
build=$(cd "${1:?usage: $0 BUILD_DIR [WIDTHxHEIGHT]}" && pwd)
size=${2:-1920x1080}
width=${size%x*}
height=${size#*x}
work=${KALVO_BENCH_DIR:-/tmp/kalvo-bench}
mkdir -p "$work"
record=$work/large.cfg
if [ ! -f "$record" ]; then
  echo "writing $record (12 channels of 10 million samples)"
  "$build/bench/kalvo_make_large_record" "$record" 12 10000000
fi

exec 3< <(Xvfb -displayfd 1 -screen 0 "${size}x24" -nolisten tcp 2>/dev/null & echo "pid $!")
read -r _ xvfb <&3
read -r display <&3
export DISPLAY=:$display GSK_RENDERER=cairo XDG_CONFIG_HOME=$work/config
state=$work/state.txt log=$work/frames.txt
rm -f "$state" "$log"
"$build/kalvo-viewer" --size "$size" --frame-log "$log" \
  --state-file "$state" "$record" 2>"$work/viewer.log" &
viewer=$!
cleanup() { kill "$viewer" 2>/dev/null || true; kill "$xvfb" 2>/dev/null || true; }
trap cleanup EXIT

for _ in $(seq 1 600); do grep -q '^tab.0 ready' "$state" 2>/dev/null && break; sleep 0.1; done
grep -q '^tab.0 ready' "$state" || { echo "the record did not open"; cat "$work/viewer.log"; exit 1; }
sleep 1
# Zoom in on the middle of the first graph: + five times, a quarter at each end each time.
xdotool mousemove $((width / 2)) $((height / 3)) click 1
sleep 0.3
xdotool key --delay 150 plus plus plus plus plus
sleep 1
start=$(date +%s.%N)
# Pan by the axis: click it (away from its marks) and hold Right as a key repeat would.
axis_y=$((height - 55))
xdotool mousemove $((width / 2)) $axis_y click 1
xdotool key --delay 30 $(printf 'Left %.0s' $(seq 1 60)) $(printf 'Right %.0s' $(seq 1 120))
# Then drag the scroll thumb under the axis along, a few pixels a step.
thumb_y=$((height - 33))
xdotool mousemove $((width / 2)) $thumb_y mousedown 1
for x in $(seq $((width / 2)) -6 $((width / 3))) $(seq $((width / 3)) 6 $((width * 2 / 3))); do
  xdotool mousemove "$x" "$thumb_y"
  sleep 0.016
done
xdotool mouseup 1
end=$(date +%s.%N)
sleep 0.5
grep '^range' "$state"
peak_kb=$(awk '/^VmHWM/ { print $2 }' "/proc/$viewer/status")
xdotool key ctrl+q
wait "$viewer" || true

awk -v start="$start" -v end="$end" '
  /^#/ { next }
  $1 >= start && $1 <= end { n++; whole[n] = $2; paint[n] = $3 }
  function pct(a, n, p,   i, j, t, k) {
    for (i = 2; i <= n; i++) { t = a[i]; for (j = i - 1; j >= 1 && a[j] > t; j--) a[j + 1] = a[j]; a[j + 1] = t }
    k = int(p * n + 0.999999); if (k < 1) k = 1; return a[k]
  }
  END {
    if (n == 0) { print "no frames while panning"; exit 1 }
    for (i = 1; i <= n; i++) { w[i] = whole[i]; q[i] = paint[i] }
    printf "frames while panning: %d\n", n
    printf "whole frame ms:   median %6.2f   99th percentile %6.2f   max %6.2f\n", pct(w, n, 0.5), pct(w, n, 0.99), pct(w, n, 1)
    for (i = 1; i <= n; i++) q[i] = paint[i]
    printf "painting ms:      median %6.2f   99th percentile %6.2f   max %6.2f\n", pct(q, n, 0.5), pct(q, n, 0.99), pct(q, n, 1)
  }' "$log"
record_mb=$(( $(stat -c %s "${record%.cfg}.dat") / 1048576 ))
echo "viewer peak memory: $(( peak_kb / 1024 )) MB (the record's data file: ${record_mb} MB; as doubles in memory: $(( 13 * 10000000 * 8 / 1048576 )) MB)"
echo "frame log: $log"
