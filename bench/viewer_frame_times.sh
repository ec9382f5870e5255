#!/usr/bin/env bash
# Frame times of the viewer on a record of 12 channels of 10 million samples, with real
# input on a virtual X server: the time graphs zoomed in to 1/25 of the record and panned
# with the time axis' Right key and by dragging its scroll thumb; then zoomed out and in
# by the keys; then, the whole record in view, marker X dragged along the axis. The viewer's
# frame-time log gives every frame; this prints the median, 99th percentile and longest
# frame of each of the three and the viewer's peak memory. The same is done first on a
# record of 12 channels of 10 thousand samples, the reference: drawing that follows pixels
# costs the same on both, whatever the samples.
#
#   bench/viewer_frame_times.sh BUILD_DIR [WIDTHxHEIGHT]    (1920x1080 by default)
set -euo pipefail
build=$(cd "${1:?usage: $0 BUILD_DIR [WIDTHxHEIGHT]}" && pwd)
size=${2:-1920x1080}
width=${size%x*}
height=${size#*x}
work=${KALVO_BENCH_DIR:-/tmp/kalvo-bench}
mkdir -p "$work"
tool=$build/bench/kalvo_make_large_record
[ -x "$tool" ] || tool=$build/tests/viewer/kalvo_make_large_record

exec 3< <(Xvfb -displayfd 1 -screen 0 "${size}x24" -nolisten tcp 2>/dev/null & echo "pid $!")
read -r _ xvfb <&3
read -r display <&3
export DISPLAY=:$display GSK_RENDERER=cairo GDK_DEBUG=gl-disable XDG_CONFIG_HOME=$work/config
viewer=
cleanup() {
  [ -n "$viewer" ] && kill "$viewer" 2>/dev/null || true
  kill "$xvfb" 2>/dev/null || true
}
trap cleanup EXIT

# summary WHAT START END LOG: the figures of the frames logged between the two times.
summary() {
  awk -v what="$1" -v start="$2" -v end="$3" '
    /^#/ { next }
    $1 >= start && $1 <= end { n++; whole[n] = $2; paint[n] = $3 }
    function pct(a, n, p,   i, j, t, k) {
      for (i = 2; i <= n; i++) { t = a[i]; for (j = i - 1; j >= 1 && a[j] > t; j--) a[j + 1] = a[j]; a[j + 1] = t }
      k = int(p * n + 0.999999); if (k < 1) k = 1; return a[k]
    }
    END {
      if (n == 0) { printf "%s: no frames\n", what; exit 1 }
      for (i = 1; i <= n; i++) { w[i] = whole[i]; q[i] = paint[i] }
      printf "%s, %d frames:\n", what, n
      printf "  whole frame ms:   median %6.2f   99th percentile %6.2f   max %6.2f\n", pct(w, n, 0.5), pct(w, n, 0.99), pct(w, n, 1)
      printf "  painting ms:      median %6.2f   99th percentile %6.2f   max %6.2f\n", pct(q, n, 0.5), pct(q, n, 0.99), pct(q, n, 1)
    }' "$4"
}

# measure NAME SAMPLES: opens the record of 12 channels of SAMPLES samples, pans across it
# and prints the figures.
measure() {
  local name=$1 samples=$2
  local record=$work/$name.cfg state=$work/$name-state.txt log=$work/$name-frames.txt
  if [ ! -f "$record" ]; then
    echo "writing $record (12 channels of $samples samples)"
    "$tool" "$record" 12 "$samples"
  fi
  rm -f "$state" "$log"
  "$build/kalvo-viewer" --size "$size" --frame-log "$log" --state-file "$state" "$record" \
    2>"$work/$name-viewer.log" &
  viewer=$!
  for _ in $(seq 1 600); do grep -q '^tab.0 ready' "$state" 2>/dev/null && break; sleep 0.1; done
  grep -q '^tab.0 ready' "$state" || { echo "$record did not open"; cat "$work/$name-viewer.log"; exit 1; }
  sleep 1
  # Zoom in on the middle of the first graph: + five times, a quarter at each end each time.
  xdotool mousemove $((width / 2)) $((height / 3)) click 1
  sleep 0.3
  xdotool key --delay 150 plus plus plus plus plus
  sleep 1
  local pan_start pan_end zoom_start zoom_end drag_start drag_end
  pan_start=$(date +%s.%N)
  # Pan by the axis: click it (away from its marks) and hold Right as a key repeat would.
  local axis_y=$((height - 55)) thumb_y=$((height - 33))
  xdotool mousemove $((width / 2)) $axis_y click 1
  xdotool key --delay 30 $(printf 'Left %.0s' $(seq 1 60)) $(printf 'Right %.0s' $(seq 1 120))
  # Then drag the scroll thumb under the axis along, a few pixels a step.
  xdotool mousemove $((width / 2)) $thumb_y mousedown 1
  for x in $(seq $((width / 2)) -6 $((width / 3))) $(seq $((width / 3)) 6 $((width * 2 / 3))); do
    xdotool mousemove "$x" "$thumb_y"
    sleep 0.016
  done
  xdotool mouseup 1
  pan_end=$(date +%s.%N)
  sleep 0.5
  # Zoom out and in again by the keys, over the first graph: each step paints every graph.
  xdotool mousemove $((width / 2)) $((height / 3)) click 1
  sleep 0.3
  zoom_start=$(date +%s.%N)
  xdotool key --delay 120 $(printf 'minus plus %.0s' $(seq 1 10))
  zoom_end=$(date +%s.%N)
  sleep 0.5
  # The whole record in view, markers on (both at its first sample, the axis' left end):
  # marker X dragged along the axis, a few pixels a step.
  xdotool key x
  sleep 1
  xdotool key m
  sleep 1
  local canvas_x canvas_y axis_l axis_t
  read -r canvas_x canvas_y < <(awk '/^canvas / { print $2, $3 }' "$state")
  read -r axis_l axis_t < <(awk '/^axis / { print $2, $3 }' "$state")
  local grab_x=$((canvas_x + axis_l)) grab_y=$((canvas_y + axis_t + 4))
  drag_start=$(date +%s.%N)
  xdotool mousemove $grab_x $grab_y mousedown 1
  for x in $(seq $grab_x 4 $((grab_x + width / 3))); do
    xdotool mousemove "$x" "$grab_y"
    sleep 0.016
  done
  xdotool mouseup 1
  drag_end=$(date +%s.%N)
  sleep 0.5
  local peak_kb range markers
  peak_kb=$(awk '/^VmHWM/ { print $2 }' "/proc/$viewer/status")
  range=$(grep '^range' "$state" | cut -d' ' -f2-)
  markers=$(grep '^markers' "$state" | cut -d' ' -f2-)
  xdotool key ctrl+q
  wait "$viewer" || true
  viewer=
  echo "== $name: 12 channels of $samples samples (${range} s in view at the end; markers $markers)"
  summary "panning" "$pan_start" "$pan_end" "$log"
  summary "zooming" "$zoom_start" "$zoom_end" "$log"
  summary "dragging marker X" "$drag_start" "$drag_end" "$log"
  local data_mb=$(( $(stat -c %s "${record%.cfg}.dat") / 1048576 ))
  echo "viewer peak memory: $(( peak_kb / 1024 )) MB (the data file: ${data_mb} MB; the samples as doubles: $(( 13 * samples * 8 / 1048576 )) MB)"
  echo "frame log: $log"
}

measure reference 10000
measure large 10000000
