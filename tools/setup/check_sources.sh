#!/bin/bash
# Whether the source packages of dependencies.lock, or the one of this NAME, lie complete and unchanged
# in build/downloads: check_sources.sh [NAME]
set -euo pipefail
cd "$(dirname "$0")/../.."
source tools/setup/common.sh

cd "$build_dir/downloads"
while read -r name version hash debian_hash; do
  [[ ${1-$name} == "$name" ]] || continue
  version=${version#*:}
  if [[ -n $debian_hash ]]; then
    sha256sum --check --quiet << END
$hash  ${name}_${version%-*}.orig.tar.gz
$debian_hash  ${name}_$version.debian.tar.xz
END
    continue
  fi
  dsc=${name}_$version.dsc
  echo "$hash  $dsc" | sha256sum --check --quiet
  # The .dsc lists its files below "Checksums-Sha256:" as "hash size name".
  awk '/^[^ ]/ { inside = /^Checksums-Sha256:/ } inside && NF == 3 { print $1 "  " $3 }' "$dsc" |
    sha256sum --check --quiet
done < <(locked source)
