#!/usr/bin/env bash
# A demo fleet of two engines: made with fleetctl, run, looked at, killed.
# Runs inside scripts/demo.sh, with OWB at the build's installation and
# HOME at the demo home, so the user's own ~/.owb is untouched.
set -euo pipefail
: "${OWB:?run this through scripts/demo.sh}"
fleetctl="$OWB/bin/fleetctl"
fleet="$HOME/fleets/demo"

# The engines run in terminal windows: xterm on the display there is, or
# on a virtual one; with neither, bgterm runs them without a window.
xvfb_pid=""
cleanup() {
  "$fleetctl" kill "$fleet" >/dev/null 2>&1 || true
  if [[ -n "$xvfb_pid" ]]; then kill "$xvfb_pid" 2>/dev/null || true; fi
}
trap cleanup EXIT
terminal="$OWB/bin/bgterm"
if command -v xterm >/dev/null; then
  if [[ -z "${DISPLAY:-}" ]] && command -v Xvfb >/dev/null; then
    export DISPLAY=":$((90 + RANDOM % 400))"
    Xvfb "$DISPLAY" -nolisten tcp >/dev/null 2>&1 &
    xvfb_pid=$!
    sleep 1
  fi
  if [[ -n "${DISPLAY:-}" ]]; then terminal="$(command -v xterm)"; fi
fi
export DISPLAY="${DISPLAY:-:0}"
mkdir -p "$HOME/.owb" "$(dirname "$fleet")"
printf '%s\n%s\n' "$terminal" "-sb -j +ls -bg rgbi:0.125/0.33/0.99 -fg black" > "$HOME/.owb/xterm_settings"
echo "terminal: $terminal (DISPLAY=$DISPLAY)"

echo "-- fleetctl new (two engines; prints each engine's debugger port)"
"$fleetctl" new "$fleet" --engine alpha --engine beta --force
echo "-- fleetctl run (a cold boot: no engine has a database yet)"
"$fleetctl" run "$fleet"
sleep 1
echo "-- fleetctl status"
"$fleetctl" status "$fleet"
tcp_port=$(sed -n 5p "$fleet/alpha.pid")
echo "-- alpha answers on its TCP port $tcp_port:"
exec 3<>"/dev/tcp/127.0.0.1/$tcp_port"
cat <&3
exec 3<&-
echo "-- fleetctl kill --cleanup"
"$fleetctl" kill "$fleet" --cleanup
"$fleetctl" status "$fleet"
