#!/usr/bin/env bash
# The Fleet Manager beside a Tool Manager: fleetmgr registers itself and its
# eight commands with toolman, recognises the demo fleet's definition file,
# announces its engines, and ends on QUIT.  toolman finds the installation's
# help documents on its search path and names the help viewer: the one in
# OWB_HELP_VIEWER, else the installation's bin/helpview.  Runs inside
# scripts/demo.sh, after the demo fleet was made.
set -euo pipefail
: "${OWB:?run this through scripts/demo.sh}"
toolman="$(dirname "$OWB")/tools/toolman"
project="$HOME/fleets"
definition="$project/demo/demo.flt"

xvfb_pid="" toolman_pid="" fleetmgr_pid=""
cleanup() {
  for pid in $fleetmgr_pid $toolman_pid $xvfb_pid; do kill "$pid" 2>/dev/null || true; done
  wait 2>/dev/null || true
}
trap cleanup EXIT
if [[ -z "${DISPLAY:-}" ]] || ! xdpyinfo >/dev/null 2>&1; then
  export DISPLAY=":$((500 + RANDOM % 400))"
  Xvfb "$DISPLAY" -nolisten tcp >/dev/null 2>&1 &
  xvfb_pid=$!
  sleep 1
fi

viewer="${OWB_HELP_VIEWER:-$OWB/bin/helpview}"
"$toolman" --project "$project" --help-viewer "$viewer" --quiet < /dev/null > "$HOME/toolman.out" 2>&1 &
toolman_pid=$!
for _ in $(seq 50); do [[ -s "$HOME/.owb/owbport" ]] && break; sleep 0.1; done
"$OWB/bin/fleetmgr" > "$HOME/fleetmgr.out" 2>&1 &
fleetmgr_pid=$!
for _ in $(seq 50); do "$toolman" --send tools 2>/dev/null | grep -q "Fleet Manager" && break; sleep 0.1; done

echo "-- toolman: the tools registered"
"$toolman" --send tools
echo "-- toolman: the commands the Fleet Manager installed"
"$toolman" --send "commands FLTT"
echo "-- toolman: is $definition a fleet?"
"$toolman" --send "idfl FLTT $definition"
echo "-- toolman: the engines the Fleet Manager announced"
"$toolman" --send engines
echo "-- toolman: the help document of the Run Fleet window, found on the search path"
guide="$("$toolman" --send "resolve user.html")"
echo "$guide"
echo "-- the help viewer on it, as F1 in that window starts it"
"$viewer" "$guide#OWBWin:RunFleet"
echo "-- toolman: QUIT"
"$toolman" --send "quit FLTT"
wait "$fleetmgr_pid" && echo "fleetmgr ended with status 0"
fleetmgr_pid=""
