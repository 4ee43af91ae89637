# ./run test (sourced): CTest under Wine beside the test server, lint beside both, then one closing line.
source tools/setup/wine_env.sh

# The test server chooses its port and says so in its first line; everything tests ask for goes
# there. It is the only server, and it listens on loopback only.
start_test_server() {
  local log=$log_dir/test-server.log output line
  # Its standard input is ours to hold open: it ends with this script, even a killed one.
  coproc test_server {
    close_locks
    exec /usr/bin/python3 tests/http_server/server.py --exit-with-stdin 2> "$log"
  }
  at_exit stop_test_server
  exec {output}<&"${test_server[0]}"
  read -r -t 30 line <&"$output" || line=
  [[ $line =~ ^PORT\ ([0-9]+)$ ]] ||
    die "The test server did not start: \"$line\"" "$(tail -n 5 "$log")"
  export FOLIVO_TEST_SERVER_PORT=${BASH_REMATCH[1]}
  # Whatever else it says must not fill the pipe.
  { close_locks && exec cat; } <&"$output" >> "$log" &
  exec {output}<&-
}

stop_test_server() { kill "$test_server_PID" 2> /dev/null; }

# Has Windows' heap check itself in the programs that were registered with HEAP_CHECK: ends of blocks,
# parameters, and freed blocks when they are used again. Not all blocks at every call (0x80): Wine then
# meets blocks that another thread is just freeing, and lets allocations fail.
enable_heap_checks() {
  local program
  while read -r program; do
    [[ $program ]] || continue
    printf '[HKEY_LOCAL_MACHINE\\%s\\%s]\n"GlobalFlag"=dword:00000070\n\n' \
      'Software\Microsoft\Windows NT\CurrentVersion\Image File Execution Options' "$program"
  done < "$build_dir/$preset/heap_checked_tests.txt" | wine_env_registry
}

# The tests wait more than they compute: beside them, the sources are checked in the time they leave.
lint_pid=
start_lint() {
  {
    close_locks
    exec setsid nice -n 19 tools/lint/lint.sh "$1" > "$log_dir/lint.log" 2>&1 < /dev/null
  } &
  lint_pid=$!
  at_exit stop_lint
}

finish_lint() {
  local results=$1/test-results/lint.tsv
  say "Checking the sources (build/logs/lint.log)"
  tail -n +1 -f --pid="$lint_pid" "$log_dir/lint.log"
  # What failed is in the results, unless something ended the checks themselves.
  wait "$lint_pid" || grep -qs 'failed$' "$results" || printf 'checks\tfailed\n' >> "$results"
  lint_pid=
}

stop_lint() { [[ ! $lint_pid ]] || kill -- "-$lint_pid"; }

tests_pid=
stop_tests() { [[ ! $tests_pid ]] || kill -- "-$tests_pid"; }

# run_tests [--lint] [--full] [--seed N] [-R REGEX] [-L LABEL]: `preset` is set. Prints failures and,
# last, the closing line; returns non-zero when anything failed.
run_tests() {
  local selection=() lint=yes tests=yes full=OFF again=() seed=$(((RANDOM << 15 | RANDOM) & 0xFFFFFF))
  while (($#)); do
    case $1 in
      --lint) tests= ;;
      --full) full=ON again+=(--full) ;;
      --seed)
        [[ ${2-} =~ ^[0-9]{1,9}$ ]] || die "--seed needs a number. See ./run help."
        seed=$((10#$2))
        shift
        ;;
      -R | -L)
        (($# > 1)) || die "$1 needs a value. See ./run help."
        selection+=("$1" "$2") lint=
        shift
        ;;
      *) die "./run test does not know $1. See ./run help." ;;
    esac
    shift
  done
  [[ $lint || $tests ]] || die "--lint and a selection of tests exclude each other."
  [[ $tests || $full == OFF ]] || die "--lint and --full exclude each other."

  lock_tests
  [[ $preset == release ]] || again+=("--$preset")
  # What the tests choose at random, they choose by this seed.
  export FOLIVO_TEST_SEED=$seed
  # shellcheck disable=SC2034  # read by build
  configure_options=("-DFOLIVO_FULL_TESTS=$full")
  build "--$preset" --for "${tests:+tests},${lint:+lint}" "${selection[@]}"
  local preset_dir=$build_dir/$preset results=$build_dir/$preset/test-results
  rm -rf "$results"
  mkdir -p "$results"
  [[ ! $lint ]] || start_lint "$preset_dir"
  if [[ $tests ]]; then
    say "Running the tests with seed $seed (build/logs/tests.log)"
    local wine_options=()
    [[ ! -e tests/support/hosts ]] || wine_options=(--hosts "$root/tests/support/hosts")
    wine_env_start test "${wine_options[@]}"
    enable_heap_checks
    start_test_server
    # Passing cases say nothing, failing ones everything.
    export GTEST_BRIEF=1
    ctest --test-dir "$preset_dir" --show-only=json-v1 "${selection[@]}" > "$results/expected.json"
    # In a group of its own, so that it can be ended together with what it started.
    # shellcheck disable=SC2016
    setsid bash -c 'log=$1; shift; "$@" 2>&1 | tee "$log"' tests "$log_dir/tests.log" \
      ctest --test-dir "$preset_dir" "${selection[@]}" --parallel "$(nproc)" --no-tests=error \
      --output-on-failure --output-junit "$results/ctest.junit" < /dev/null &
    tests_pid=$!
    at_exit stop_tests
    wait "$tests_pid" || true  # the summary decides, from the result files
    tests_pid=
    wine_env_stop
  fi
  [[ ! $lint_pid ]] || finish_lint "$preset_dir"
  /usr/bin/python3 tools/setup/test_summary.py "$results" "${again[@]}" --seed "$seed"
}
