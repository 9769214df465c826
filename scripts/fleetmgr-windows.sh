#!/usr/bin/env bash
# Opens each window of the Fleet Manager on a running demo fleet, as a user
# would through the Tool Manager, and saves a picture of each:
#   scripts/fleetmgr-windows.sh OUTDIR [SUFFIX [DPI]]
# writes OUTDIR/fleetmgr-{status,output,run,kill,backup,restore}SUFFIX.png
# (output: the status window with the view of an engine's output opened
# by a double click on its row, as the screen shows them).  DPI
# (96 by default, 192 for 200%) is the screen the windows are laid out
# for.  The settings window, the engine place configuration dialog and its
# three add dialogs are composed by the tool's window test program, which
# saves fleetmgr-{settings,engplace,addenv,addoption,addextproc}.png there
# too ("-200" before ".png" at a DPI of 192 or more).  Needs the build's installation in $OWB (scripts/demo.sh sets it),
# Xvfb, xdotool and ImageMagick's import.  Runs in a home of its own.
set -euo pipefail
: "${OWB:?set OWB to the installation of the build, build/owb}"
outdir="$(mkdir -p "$1" && cd "$1" && pwd)"
suffix="${2:-}"
dpi="${3:-96}"
toolman="$(dirname "$OWB")/tools/toolman"
fleetctl="$OWB/bin/fleetctl"

work="$(mktemp -d)"
export HOME="$work/home"
mkdir -p "$HOME/.owb" "$work/fleets"
fleet="$work/fleets/demo"
definition="$fleet/demo.flt"
printf '%s\n%s\n' "$OWB/bin/bgterm" "-sb" > "$HOME/.owb/xterm_settings"

xvfb_pid="" toolman_pid="" fleetmgr_pid=""
cleanup() {
  "$fleetctl" kill "$fleet" >/dev/null 2>&1 || true
  for pid in $fleetmgr_pid $toolman_pid $xvfb_pid; do kill "$pid" 2>/dev/null || true; done
  wait 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT
export DISPLAY=":$((600 + RANDOM % 300))"
Xvfb "$DISPLAY" -screen 0 2400x1400x24 -nolisten tcp >/dev/null 2>&1 &
xvfb_pid=$!
for _ in $(seq 50); do xdpyinfo >/dev/null 2>&1 && break; sleep 0.1; done

export OWB_START_DELAY=0.3
"$fleetctl" new "$fleet" --engine alpha --engine beta --force >/dev/null
"$fleetctl" run "$fleet" >/dev/null

"$toolman" --project "$work/fleets" --quiet < /dev/null > "$work/toolman.out" 2>&1 &
toolman_pid=$!
for _ in $(seq 50); do [[ -s "$HOME/.owb/owbport" ]] && break; sleep 0.1; done
OWB_AUTOMATION=1 OWB_DPI="$dpi" "$OWB/bin/fleetmgr" > "$work/fleetmgr.out" 2>&1 &
fleetmgr_pid=$!
for _ in $(seq 50); do "$toolman" --send tools 2>/dev/null | grep -q "Fleet Manager" && break; sleep 0.1; done
"$toolman" --send "idfl FLTT $definition" >/dev/null

# Chooses a command and saves the window whose title matches.
shoot() {
  local command="$1" title="$2" name="$3" id
  "$toolman" --send "cmd FLTT \"$command\" $definition" >/dev/null
  id="$(timeout 10 xdotool search --sync --onlyvisible --name "$title" | head -1)"
  sleep 0.7
  import -window "$id" "$outdir/fleetmgr-$name$suffix.png"
  echo "$outdir/fleetmgr-$name$suffix.png"
}
shoot "Fleet Status" "^Fleet Status: " status

# A double click on alpha's row (the list's cell 2,1, found in the status
# window's widget description) opens the view of its output; the screen
# is saved with both windows, cut to what they cover, and the view closed.
status_title="Fleet Status: $fleet"
cell="$("$(dirname "$0")/owb-widgets.sh" "$status_title" | awk -F'\t' '$1 == "4/2,1" { print $3 + int($5 / 2), $4 + int($6 / 2) }')"
status_id="$(xdotool search --onlyvisible --name "^$status_title\$" | head -1)"
xdotool mousemove --window "$status_id" ${cell% *} ${cell#* } click --repeat 2 --delay 100 1
view_id="$(timeout 10 xdotool search --sync --onlyvisible --name "^Output of alpha: " | head -1)"
sleep 0.7
import -window root "$work/screen.png"
convert "$work/screen.png" -trim +repage "$outdir/fleetmgr-output$suffix.png"
echo "$outdir/fleetmgr-output$suffix.png"
xdotool mousemove --window "$view_id" 100 200 click 1 key ctrl+w
sleep 0.3
shoot "Run Fleet" "^Run Fleet$" run
shoot "Kill Fleet" "^Kill Fleet$" kill
shoot "Backup Fleet" "^Backup /" backup
shoot "Restore Fleet" "^Restore Fleet$" restore

# The settings family, from the window test program of the same build.
FLEETMGR_SHOTS="$outdir" OWB_DPI="$dpi" OWB_XVFB_SCREEN=2560x1600 \
  "$(dirname "$OWB")/tests/fleetmgr_tests" --gtest_filter='SettingsWindowTest.PicturesOfEachWindow' >/dev/null
test_suffix=""
[[ $dpi -ge 192 ]] && test_suffix="-200"
for name in settings engplace addenv addoption addextproc; do echo "$outdir/fleetmgr-$name$test_suffix.png"; done
