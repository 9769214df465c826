#!/usr/bin/env bash
# The Fleet Manager's windows on a running demo fleet: the status window
# and the option dialogs, opened through the Tool Manager as a user would,
# each saved as a picture.  Runs inside scripts/demo.sh.
set -euo pipefail
: "${OWB:?run this through scripts/demo.sh}"
root="$(cd "$(dirname "$0")/../.." && pwd)"
shots="$HOME/windows"
echo "-- the status window of a running demo fleet, and the option dialogs:"
"$root/scripts/fleetmgr-windows.sh" "$shots"
