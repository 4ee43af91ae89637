# Shared by ./run and its helpers (sourced): places, one-line steps with their time, clean-up.

# The root of the checkout; scripts are started from there.
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
build_dir=$root/build
log_dir=$build_dir/logs

# Debian's own tools first: what lies in /usr/local or a user's home may be of any version.
export PATH=/usr/sbin:/usr/bin:/sbin:/bin:$PATH
# Under the plain C locale Wine cannot pass on names outside ASCII.
export LC_ALL=C.UTF-8
# What show_progress reads.
export NINJA_STATUS='[%f/%t] '

say() { printf '%s\n' "$*"; }

# die MESSAGE...: one line per argument, then exit.
die() {
  printf 'run: %s\n' "$@" >&2
  exit 1
}

# Everything that is made goes to build/; a checkout that takes nothing is told once, here.
require_build_folder() {
  local answer
  answer=$({ mkdir -p "$log_dir" && : > "$log_dir/.writable"; } 2>&1) ||
    die "Nothing can be written to $build_dir: ${answer##*: }." \
      "If the checkout is read-only, copy it into a folder of your own: cp -r '$root' ~/folivo"
  rm -f "$log_dir/.writable"
}

# One ./run at a time changes what is installed and built here; others wait. The lock is on the
# checkout's folder, so that none is left behind, and ends with the last process that builds.
lock_checkout() {
  exec {checkout_lock}< "$root"
  flock -n "$checkout_lock" && return
  say "Another ./run is building in this checkout; waiting until it has ended."
  flock "$checkout_lock"
}

unlock_checkout() {
  exec {checkout_lock}<&-
  checkout_lock=
}

# For the whole of a ./run test, which needs what it built and what it has written so far. On a folder
# of the checkout, as ./run clean removes build/.
lock_tests() {
  exec {test_lock}< "$root/tests"
  flock -n "$test_lock" ||
    die "Another ./run test is at work in this checkout. Wait for its end, then run this again." \
      "If it was killed, what is left of it ends by itself."
}

# For a subshell: what outlives a killed ./run must hold nobody up.
close_locks() {
  local lock
  for lock in ${checkout_lock-} ${test_lock-} ${mutate_lock-} ${wine_env_lock-}; do
    exec {lock}<&-
  done
}

# locked package|source: the entries of that kind in dependencies.lock, one per line, without
# the comments.
locked() { sed -nE "s/^$1 +([^#]*[^# ]) *(#.*)?\$/\1/p" "$root/dependencies.lock"; }

# seconds_since START: seconds with one decimal; START is an earlier $EPOCHREALTIME.
seconds_since() {
  local tenths=$(((${EPOCHREALTIME/./} - ${1/./}) / 100000))
  printf '%d.%d' $((tenths / 10)) $((tenths % 10))
}

# Microseconds between two lines of progress, where they do not replace each other.
progress_interval=10000000

# Shows what a running step writes into its log, as "n of m: what is being made": on a terminal behind
# the step's name, elsewhere as a line of its own every ten seconds. Ninja's and apt's lines say it.
show_progress() {
  local log=$1 text=$2 line progress shown=${EPOCHREALTIME/./} interval=$progress_interval self=$BASHPID
  local columns room terminal status
  close_locks
  local source='^([^:]*: )Building [A-Z]+ object (.*)CMakeFiles/[^/]*\.dir/(.*)\.(obj|res)$'
  shopt -s extglob
  if [[ -t 1 ]]; then
    interval=100000
    exec {terminal}>&1
    columns=$(stty size <&"$terminal" 2> /dev/null) && columns=${columns#* } || columns=80
    room=$((columns > 60 ? columns - 49 : 11))
  fi
  while :; do
    status=0
    IFS= read -r -t 2 line || status=$?
    if ((status > 128)); then  # nothing new
      kill -0 $$ 2> /dev/null && continue
    fi
    ((status == 0)) || break
    line=${line//\'/}  # around paths with blanks
    if [[ $line =~ ^\[([0-9]+)/([0-9]+)\]\ (.*)$ ]]; then
      progress="${BASH_REMATCH[1]} of ${BASH_REMATCH[2]}: ${BASH_REMATCH[3]}"
      # "Building CXX object ui/CMakeFiles/ui.dir/button_row.cpp.obj": ui/button_row.cpp
      [[ ! $progress =~ $source ]] ||
        progress="${BASH_REMATCH[1]}${BASH_REMATCH[2]}${BASH_REMATCH[3]##*/@(__|build/src)/}"
    elif [[ $line =~ ^(dl|pm)status:[^:]*:([0-9]+)[.0-9]*:(.*)$ ]]; then
      progress="${BASH_REMATCH[2]} of 100: ${BASH_REMATCH[3]}"
    else
      continue
    fi
    ((${EPOCHREALTIME/./} - shown >= interval)) || continue
    shown=${EPOCHREALTIME/./}
    if [[ -t 1 ]]; then
      printf '\r%-46s  %.*s\e[K' "$text" "$room" "$progress"
    else
      [[ -e $log.shown ]] || printf '\n'
      : > "$log.shown"
      printf '  %s\n' "$progress"
    fi
  done < <(exec tail -q -n +1 -f --pid="$self" "$log" 2> /dev/null)
}

# How much a step may write until the disk counts as full.
full_disk_kib=20480

# Why a step failed, as far as it is not the step's own doing; nothing otherwise.
outer_cause() {
  local free
  free=$(df --output=avail -k "$build_dir" | tail -n 1)
  if ((free < full_disk_kib)) || grep -qs 'No space left on device' "$1"; then
    echo "The disk of $build_dir is full. Free 3 GB there; what is done so far is kept."
  elif grep -qsE 'Temporary failure resolving|Could not (resolve|connect)|Network is unreachable|Unable to connect' "$1"; then
    echo "Debian's servers are out of reach. Connect this machine; what is done so far is kept."
  fi
}

# step LOG TEXT ADVICE COMMAND...: runs a program with its output in build/logs/LOG.log and prints
# one line with the time it took, and its progress while it runs. When it fails, prints the last lines
# of the log and the advice, and exits. COMMAND is a program, not a shell function: bash would not
# stop at errors inside one.
step() {
  local log=$log_dir/$1.log text=$2 advice=$3 start=$EPOCHREALTIME status=0 progress_pid cause
  shift 3
  mkdir -p "$log_dir"
  rm -f "$log.shown"
  : > "$log" || die "Nothing can be written to $log_dir." "$(outer_cause "$log")"
  printf '%-46s' "$text"
  show_progress "$log" "$text" &
  progress_pid=$!
  "$@" >> "$log" 2>&1 < /dev/null || status=$?
  # Not SIGTERM: a child that has not yet reset this script's traps would run the exit functions.
  kill -KILL "$progress_pid" 2> /dev/null || true
  wait "$progress_pid" 2> /dev/null || true
  if [[ -t 1 ]]; then
    printf '\r%-46s\e[K' "$text"
  elif [[ -e $log.shown ]]; then
    rm -f "$log.shown"
    printf '%-46s' "$text"
  fi
  if ((status == 0)); then
    printf '%7s s\n' "$(seconds_since "$start")"
    return
  fi
  printf ' FAILED after %s s (exit code %d)\n' "$(seconds_since "$start")" "$status"
  say "--- the end of ${log#"$root"/}:"
  # Progress is no reason.
  grep -vE '^(dl|pm)status:' "$log" | tail -n 15 || true
  say "---"
  cause=$(outer_cause "$log")
  [[ ! $cause ]] || advice="$cause Then run the same command again."
  die "$advice" \
    "The whole log: ${log#"$root"/}"
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
