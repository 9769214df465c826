#!/usr/bin/env bash
# Installs whichever Debian packages of scripts/packages.txt are missing.
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
missing=()
while read -r pkg; do
  [[ -z "$pkg" || "$pkg" == \#* ]] && continue
  status="$(dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null || true)"
  [[ "$status" == "install ok installed" ]] || missing+=("$pkg")
done < "$here/packages.txt"
if ((${#missing[@]})); then
  echo "installing: ${missing[*]}"
  sudo=""
  [[ "$(id -u)" -ne 0 ]] && sudo="sudo"
  export DEBIAN_FRONTEND=noninteractive
  $sudo apt-get update -qq
  $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
