#!/usr/bin/env bash
# Reads the widget description of a window of ours and clicks a widget in
# it, as a GUI test of your own would: the program runs with
# OWB_AUTOMATION=1, and this script needs nothing but xprop (x11-utils)
# and xdotool.
#
#   scripts/owb-widgets.sh TITLE                 lists the widgets
#   scripts/owb-widgets.sh TITLE CLASS TEXT      clicks the first shown,
#                                                enabled widget of that
#                                                class and text
#   scripts/owb-widgets.sh TITLE --path PATH     clicks the widget at PATH
#
# For example, with build/owb/bin/wgtdemo running:
#   OWB_AUTOMATION=1 build/owb/bin/wgtdemo &
#   scripts/owb-widgets.sh "Widget test" TBut Warm
# An open menu is a window named after the item that opened it ("Edit
# menu"):
#   scripts/owb-widgets.sh "Widget test" MItem Edit
#   scripts/owb-widgets.sh "Edit menu" MItem "Wrap Lines"
# The format of the lines is in docs/automation.md.
set -euo pipefail

title=${1:?usage: owb-widgets.sh TITLE [CLASS TEXT | --path PATH]}
win=$(xdotool search --name "^${title}\$" | head -n 1)
[ -n "$win" ] || { echo "no window named \"$title\"" >&2; exit 1; }

# xprop prints the property as a C string; undo its quoting (a quote is
# written \" and becomes \x22 first, so that printf %b turns it back).
raw=$(LC_ALL=C.UTF-8 xprop -len 100000000 -notype -id "$win" _OWB_WIDGETS)
case "$raw" in
  *' = "'*) ;;
  *) echo "window $win has no widget description: is OWB_AUTOMATION=1 set?" >&2; exit 1 ;;
esac
quoted=${raw#*= \"}
quoted=${quoted%\"}
quoted=$(printf '%s' "$quoted" | sed 's/\\"/\\x22/g')
description=$(printf '%b' "$quoted")

if [ $# -eq 1 ]; then
  printf '%s\n' "$description"
  exit 0
fi

found=""
while IFS=$'\t' read -r path class x y w h state text; do
  if [ "$2" = "--path" ]; then
    [ "$path" = "$3" ] || continue
  else
    [ "$class" = "$2" ] && [ "$text" = "$3" ] || continue
    # Only a widget that is shown (V) and enabled (E) can be clicked.
    [[ "$state" == *V*E* ]] || continue
  fi
  found="$x $y $w $h"
  break
done <<< "$description"

[ -n "$found" ] || { echo "no such widget" >&2; exit 1; }
read -r x y w h <<< "$found"
# Coordinates are relative to the client window, as xdotool takes them.
xdotool mousemove --window "$win" $((x + w / 2)) $((y + h / 2)) click 1
