#!/bin/bash
# Whether a source package lies complete and unchanged in build/downloads:
#   check_source.sh NAME VERSION SHA256_OF_ITS_DSC
set -euo pipefail
cd "$(dirname "$0")/../../build/downloads"

dsc=$1_${2#*:}.dsc
echo "$3  $dsc" | sha256sum --check --quiet
# The .dsc lists its files below "Checksums-Sha256:" as "hash size name".
awk '/^[^ ]/ { inside = /^Checksums-Sha256:/ } inside && NF == 3 { print $1 "  " $3 }' "$dsc" |
  sha256sum --check --quiet
