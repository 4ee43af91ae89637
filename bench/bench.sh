#!/bin/bash
# Measures speed, each time against a peer: bench.sh [--quick] [--only NAME]... See README.md here.
set -euo pipefail
cd "$(dirname "$(readlink -f "$0")")/.."
source tools/setup/common.sh
source tools/setup/wine_env.sh

list() { /usr/bin/python3 -B bench/selection.py "$@"; }

usage() {
  cat << 'END'
Usage: ./run bench [--quick] [--only NAME]...

Prints one table of ratios: this product against peers that do the same job, measured in turns
under the same Wine and with the same server on this machine. Takes about four minutes, during
which little else should run here, and 3 GB of disk. Exits 0 when every measurement came to its
end, whether its goal was met or missed; each row says which. bench/README.md tells the method.

  --quick   fewer rounds and smaller files: shows that everything works; proves nothing
  --only    only the measurement of this name; may be given several times
  --list    show the names
  --help    show this

The names:
END
  list
}

only_check=
options=()
names=()
while (($#)); do
  case $1 in
    --only-check-arguments) only_check=yes ;;
    --quick) options+=("$1") ;;
    --only)
      (($# > 1)) || die "--only wants the name of a measurement: see ./run bench --list."
      names+=("$2")
      options+=("$1" "$2")
      shift
      ;;
    --list)
      list
      exit
      ;;
    --help | -h)
      usage
      exit
      ;;
    *)
      usage >&2
      die "./run bench does not know $1."
      ;;
  esac
  shift
done
# Before minutes of building; without Python, the measuring itself says it afterwards.
if [[ -x /usr/bin/python3 ]] && ((${#names[@]} > 0)); then
  list "${names[@]}"
fi
[[ ! $only_check ]] || exit 0

stop_driver() {
  kill "$driver_pid" 2> /dev/null || return 0
  wait "$driver_pid" || true
}

export WINEPATH=Z:$build_dir/release  # where UNZIP32.DLL is
# In a developer's loop, Wine is used as the last run has left it.
wine_env_start bench ${names:+--reuse}
# In the background, so that a signal to this script is heard at once and ends the driver too.
# The demo's modules drive the private Wine and the test server here too.
PYTHONPATH=$root/tools/demo /usr/bin/python3 bench/bench.py "${options[@]}" \
  "$build_dir/release" "$build_dir/bench" < /dev/null &
driver_pid=$!
at_exit stop_driver
wait "$driver_pid"
