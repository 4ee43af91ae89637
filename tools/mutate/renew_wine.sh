#!/bin/bash
# Gives a running ./run mutate a Wine prefix as at its start: whatever a program that failed, was
# ended or crashed has left there (processes, registry keys, files) must not decide about the next.
set -euo pipefail
cd "$(dirname "$0")/../.."
source tools/setup/common.sh
source tools/setup/wine_env.sh
source tools/setup/test.sh

# shellcheck disable=SC2034  # read by enable_heap_checks
preset=mutate/build
wine_env_renew "$WINEPREFIX"
enable_heap_checks
