# ./run mutate (sourced): the copy is brought up to date, then Wine, display and test server start
# once for all programs, then mutate.py does the rest.
source tools/setup/test.sh

mutants_pid=
stop_mutants() {
  [[ $mutants_pid ]] || return 0
  kill "$mutants_pid" 2> /dev/null || return 0
  wait "$mutants_pid" || true  # it takes its fault out of the copy
}

run_mutants() {
  local argument
  for argument; do
    case $argument in
      --help | -h)
        /usr/bin/python3 -B tools/mutate/options.py --help
        return
        ;;
    esac
  done
  # Before minutes of building; without Python, mutate.py itself says it afterwards.
  [[ ! -x /usr/bin/python3 ]] || /usr/bin/python3 -B tools/mutate/options.py "$@"
  lock_checkout
  setup build wine test
  unlock_checkout
  mkdir -p "$build_dir/mutate"
  exec {mutate_lock}> "$build_dir/mutate/lock"
  flock -n "$mutate_lock" || die "Another ./run mutate is using build/mutate."
  /usr/bin/python3 -B tools/mutate/mutate.py --prepare "$@"
  # shellcheck disable=SC2034  # read by enable_heap_checks
  preset=mutate/build
  wine_env_start mutate --hosts "$root/tests/support/hosts"
  enable_heap_checks
  start_test_server
  /usr/bin/python3 -B tools/mutate/mutate.py "$@" < /dev/null &
  mutants_pid=$!
  at_exit stop_mutants
  local status=0
  wait "$mutants_pid" || status=$?
  mutants_pid=
  wine_env_stop
  return "$status"
}
