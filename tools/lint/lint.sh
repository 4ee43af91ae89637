#!/bin/bash
# Checks the sources: lint.sh BUILD_DIR. Prints findings, and one line per check; writes the
# outcomes as "name<TAB>passed|failed" to BUILD_DIR/test-results/lint.tsv. Exits 0 when all passed.
set -euo pipefail
cd "$(dirname "$0")/../.."
source tools/setup/common.sh

preset_dir=$1
results=$preset_dir/test-results/lint.tsv
mkdir -p "$preset_dir/test-results" "$log_dir"
: > "$results"
failed=0

# shellcheck disable=SC2317  # reached through lint, which gets their names
# The files of the project that end in one of the given ways. A tree without git (an unpacked
# archive) is taken as it is.
files() {
  local pattern
  for pattern in "$@"; do
    if git rev-parse --is-inside-work-tree > /dev/null 2>&1; then
      git ls-files --cached --others --exclude-standard -- "$pattern" | while read -r file; do
        [[ ! -e $file ]] || echo "$file"
      done
    else
      find . -path ./build -prune -o -path ./.git -prune -o -name "$pattern" -type f -print |
        sed 's|^\./||'
    fi
  done
}

# shellcheck disable=SC2317
check_format() {
  files '*.h' '*.cpp' | xargs -r -d '\n' clang-format-19 --dry-run -Werror ||
    { echo "To put it right: clang-format-19 -i FILE..." && false; }
}

# shellcheck disable=SC2317
check_tidy() { /usr/bin/python3 tools/lint/clang_tidy.py "$preset_dir"; }

# shellcheck disable=SC2317
check_includes() { /usr/bin/python3 tools/lint/include_direction.py; }

# shellcheck disable=SC2317
check_quirks() { /usr/bin/python3 tools/lint/quirks.py; }

# shellcheck disable=SC2317
check_tests() { /usr/bin/python3 tools/lint/test_table.py --suites; }

# shellcheck disable=SC2317
check_shell() {
  { echo run && echo .ci/run && files '*.sh'; } | xargs -r -d '\n' shellcheck --shell=bash \
    --external-sources --source-path=SCRIPTDIR --severity=style \
    --exclude=SC1091,SC2154  # sourced files are checked for themselves, with their variables
}

# shellcheck disable=SC2317
check_python() {
  files '*.py' | xargs -r -d '\n' /usr/bin/python3 -c '
import ast, sys
for path in sys.argv[1:]:
    with open(path, encoding="utf-8") as file:
        ast.parse(file.read(), path)'
}

# shellcheck disable=SC2317
check_windows() { /usr/bin/python3 tools/lint/windows_compiler.py "$preset_dir"; }

# lint NAME TEXT FUNCTION
lint() {
  local start=$EPOCHREALTIME outcome=passed
  printf '  %-44s' "$2"
  if ! "$3" > "$log_dir/lint-$1.log" 2>&1; then
    outcome=failed failed=1
  fi
  printf '%7s s  %s\n' "$(seconds_since "$start")" "$outcome"
  [[ $outcome == passed ]] || tail -n 60 "$log_dir/lint-$1.log"
  printf '%s\t%s\n' "$1" "$outcome" >> "$results"
}

lint format "layout (clang-format)" check_format
lint includes "direction of includes" check_includes
lint quirks "quirks (page, comments, tests)" check_quirks
lint tests "tables of tests/README.md" check_tests
lint shell "shell scripts (shellcheck)" check_shell
lint python "Python scripts" check_python
lint windows "build with the Windows compiler" check_windows
lint tidy "sources (clang-tidy)" check_tidy
exit "$failed"
