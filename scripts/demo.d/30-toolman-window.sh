#!/usr/bin/env bash
# The whole environment on a desktop: the Tool Manager's window on the demo
# project, the Fleet Manager started from its Tools menu, the demo fleet's
# definition selected in the file list and "Fleet Status" chosen from the
# Fleet Manager's menu, then Quit from the Tools menu.  Keys and clicks go
# through xdotool, as a user's would.  Runs inside scripts/demo.sh, after
# the demo fleet was made.  With OWB_DEMO_KEEP=1 and a DISPLAY of your own,
# the window stays open for you after the walk-through.
set -euo pipefail
: "${OWB:?run this through scripts/demo.sh}"
root="$(cd "$(dirname "$0")/../.." && pwd)"
toolman="$(dirname "$OWB")/tools/toolman"
project="$HOME/fleets"
command -v xdotool >/dev/null || { echo "xdotool is needed for this step"; exit 0; }

xvfb_pid="" toolman_pid=""
cleanup() {
  for pid in $toolman_pid $xvfb_pid; do kill "$pid" 2>/dev/null || true; done
  wait 2>/dev/null || true
}
trap cleanup EXIT
own_display=1
if [[ -z "${DISPLAY:-}" ]] || ! xdpyinfo >/dev/null 2>&1; then
  export DISPLAY=":$((500 + RANDOM % 400))"
  Xvfb "$DISPLAY" -nolisten tcp +extension XTEST >/dev/null 2>&1 &
  xvfb_pid=$!
  own_display=0
  sleep 1
fi
key() { for k in "$@"; do xdotool key "$k"; sleep 0.3; done; }
# With OWB_DEMO_SHOTS=DIR the walk-through saves pictures of the window
# (and of its open menu) there, named with OWB_DEMO_SHOT_SUFFIX (say "-200"
# when OWB_DPI=192 lays the window out at 200%); needs ImageMagick's import.
shot() {
  [[ -n "${OWB_DEMO_SHOTS:-}" ]] || return 0
  local id x y w h
  id=$(xdotool search --name '^Tool Manager$' | head -1)
  eval "$(xdotool getwindowgeometry --shell "$id" | sed -n 's/^\(X\|Y\|WIDTH\|HEIGHT\)=/\1=/p')"
  x=$X y=$Y w=$WIDTH h=$HEIGHT
  import -window root -crop "${w}x${h}+${x}+${y}" +repage "$OWB_DEMO_SHOTS/$1${OWB_DEMO_SHOT_SUFFIX:-}.png"
}

OWB_AUTOMATION=1 "$toolman" --window --quiet --project "$project" < /dev/null > "$HOME/toolman-window.out" 2>&1 &
toolman_pid=$!
for _ in $(seq 50); do xdotool search --name '^Tool Manager$' >/dev/null 2>&1 && break; sleep 0.1; done
sleep 0.5

echo "-- Tools > Start Program > fleetmgr"
"$root/scripts/owb-widgets.sh" "Tool Manager" TArea Project >/dev/null  # gives the window the keyboard
place=$(find "$OWB/bin" -maxdepth 1 -type f -perm -u+x -printf '%f\n' | LC_ALL=C sort | grep -n '^fleetmgr$' | cut -d: -f1)
key F10 Right
for _ in $(seq $((place - 1))); do key Down; done
key Return
for _ in $(seq 100); do "$toolman" --send tools 2>/dev/null | grep -q "Fleet Manager" && break; sleep 0.1; done
"$toolman" --send tools
for _ in $(seq 100); do "$toolman" --send "files FLTF" 2>/dev/null | grep -q demo.flt && break; sleep 0.1; done
echo "-- the file list knows the fleet's definition:"
"$toolman" --send "files FLTF"

echo "-- select demo/demo.flt, then Fleet Manager > Fleet Status"
cell=$("$root/scripts/owb-widgets.sh" "Tool Manager" | awk -F'\t' '$2 == "Cell" && $8 == "demo/demo.flt" {print $1; exit}')
"$root/scripts/owb-widgets.sh" "Tool Manager" --path "$cell"
sleep 0.3
shot toolman
key F10 Right Right
sleep 0.3
shot toolman-menu
key Down Down Down Return
sleep 2
echo "-- windows on the display now:"
for w in $(xdotool search --onlyvisible --name '.' 2>/dev/null); do xdotool getwindowname "$w"; done | sort -u

if [[ "${OWB_DEMO_KEEP:-0}" == 1 && "$own_display" == 1 ]]; then
  echo "-- the Tool Manager's window stays open; close it to end the demo"
  wait "$toolman_pid" || true
  toolman_pid=""
  exit 0
fi
echo "-- Tools > Fleet Manager > Quit"
key Return  # the Fleet Manager's window goes
"$root/scripts/owb-widgets.sh" "Tool Manager" TArea Project >/dev/null
key F10 Right q
for _ in $(seq 100); do "$toolman" --send tools 2>/dev/null | grep -q "Fleet Manager" || break; sleep 0.1; done
"$toolman" --send tools
"$toolman" --send exit
wait "$toolman_pid" || true
toolman_pid=""
