# Shared by ./run and its helpers (sourced): places, one-line steps with their time, clean-up.

# The root of the checkout; scripts are started from there.
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
build_dir=$root/build
log_dir=$build_dir/logs

# Debian's own tools first: what lies in /usr/local or a user's home may be of any version.
export PATH=/usr/sbin:/usr/bin:/sbin:/bin:$PATH
# Under the plain C locale Wine cannot pass on names outside ASCII.
export LC_ALL=C.UTF-8

say() { printf '%s\n' "$*"; }

# die MESSAGE...: one line per argument, then exit.
die() {
  printf 'run: %s\n' "$@" >&2
  exit 1
}

# locked package|source: the entries of that kind in dependencies.lock, one per line, without
# the comments.
locked() { sed -nE "s/^$1 +([^#]*[^# ]) *(#.*)?\$/\1/p" "$root/dependencies.lock"; }

# seconds_since START: seconds with one decimal; START is an earlier $EPOCHREALTIME.
seconds_since() {
  local tenths=$(((${EPOCHREALTIME/./} - ${1/./}) / 100000))
  printf '%d.%d' $((tenths / 10)) $((tenths % 10))
}

# step LOG TEXT ADVICE COMMAND...: runs a program with its output in build/logs/LOG.log and prints
# one line with the time it took. When it fails, prints the last lines of the log and the advice,
# and exits. COMMAND is a program, not a shell function: bash would not stop at errors inside one.
step() {
  local log=$log_dir/$1.log text=$2 advice=$3 start=$EPOCHREALTIME status=0
  shift 3
  mkdir -p "$log_dir"
  printf '%-46s' "$text"
  "$@" > "$log" 2>&1 < /dev/null || status=$?
  if ((status == 0)); then
    printf '%7s s\n' "$(seconds_since "$start")"
    return
  fi
  printf ' FAILED after %s s (exit code %d)\n' "$(seconds_since "$start")" "$status"
  say "--- the end of ${log#"$root"/}:"
  tail -n 25 "$log"
  say "---"
  die "$advice" "The whole log: ${log#"$root"/}"
}

# at_exit FUNCTION: what to call when the script ends, by whatever way; last in, first out.
exit_functions=()
at_exit() { exit_functions=("$1" "${exit_functions[@]}"); }

run_exit_functions() {
  local function
  for function in "${exit_functions[@]}"; do "$function" || true; done
  exit_functions=()
}
trap run_exit_functions EXIT
trap 'exit 129' HUP
trap 'exit 130' INT
trap 'exit 143' TERM
