#!/bin/bash
# Runs a program under Wine: start_wine.sh PROGRAM.exe ARGUMENTS...
#
# Every now and then Wine's loader gives up before it has so much as looked at the program: without a
# word, within 5 ms, where the shortest program takes 50 (seen in about one of 2,000 starts). Such a
# start is made once more, and told; a program that really ran has taken longer and is never repeated.
set -uo pipefail
wine=${WINE:-/usr/lib/wine/wine64}
shortest_us=20000

begin=${EPOCHREALTIME//[.,]/}
"$wine" "$@"
code=$?
took=$((${EPOCHREALTIME//[.,]/} - begin))
if ((code != 0 && took < shortest_us)); then
  echo "Wine gave up on $1 after $took us (exit code $code); it is started once more." >&2
  exec "$wine" "$@"
fi
exit "$code"
