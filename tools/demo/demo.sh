#!/bin/bash
# Shows the plug-in at work in a real browser control: demo.sh [--interactive]
# Without --interactive on a private display, with every step checked; see demo.py.
set -euo pipefail
cd "$(dirname "$(readlink -f "$0")")/../.."
source tools/setup/common.sh
source tools/setup/wine_env.sh

only_check=
if [[ ${1-} == --only-check-arguments ]]; then
  only_check=yes
  shift
fi
display=()
driver=tools/demo/demo.py
case "$*" in
  '') ;;
  --interactive)
    [[ ${DISPLAY-} ]] || die "./run demo --interactive opens a window, but DISPLAY is not set." \
      "Start it from a desktop session, or run ./run demo, which needs no display."
    display=(--own-display)
    driver=tools/demo/interactive.py
    ;;
  *) die "./run demo does not know $*. See ./run help." ;;
esac
[[ ! $only_check ]] || exit 0

stop_driver() {
  kill "$driver_pid" 2> /dev/null || return 0
  wait "$driver_pid" || true
}

# The names that collections may come from stand for this machine.
wine_env_start demo --hosts "$root/tests/support/hosts" "${display[@]}"
# In the background, so that a signal to this script is heard at once and ends the driver too.
/usr/bin/python3 "$driver" "$build_dir/release" "$build_dir/demo" < /dev/null &
driver_pid=$!
at_exit stop_driver
wait "$driver_pid"
