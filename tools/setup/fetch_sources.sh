#!/bin/bash
# Downloads the source packages of dependencies.lock that build/downloads lacks.
#
# The machine may have no source entries in its apt configuration, and that configuration is not
# ours to edit. So apt runs here on a configuration of its own in a temporary folder, derived from
# the machine's binary entries: the same servers, the same keys, the same signature check.
set -euo pipefail
cd "$(dirname "$0")/../.."
source tools/setup/common.sh

apt_dir=$(mktemp -d)
remove_apt_dir() { rm -rf "$apt_dir"; }
at_exit remove_apt_dir
mkdir -p "$apt_dir/parts" "$apt_dir/lists/partial"

# Only Debian's own suites: other repositories on the machine often have no source index, and an
# index that cannot be fetched would fail the whole update.
codename=$(. /etc/os-release && echo "${VERSION_CODENAME:-stable}")
suites="^($codename|stable|oldstable)(-updates|-security|/updates)?\$"

for file in /etc/apt/sources.list.d/*.sources; do
  [[ -e $file ]] || continue
  awk -v RS= -v suites="$suites" '
    function field(name,   i, n, lines, text) {
      n = split($0, lines, "\n")
      for (i = 1; i <= n; i++)
        if (tolower(lines[i]) ~ "^" name ":") {
          text = lines[i]; sub(/^[^:]*:/, "", text); return " " text " "
        }
      return ""
    }
    {
      gsub(/(^|\n)#[^\n]*/, ""); sub(/^\n/, "")
      if (field("enabled") ~ /no/ || field("types") !~ /[ \t]deb[ \t]/) next
      wanted = 0; n = split(field("suites"), names)
      for (i = 1; i <= n; i++) if (names[i] ~ suites) wanted = 1
      if (!wanted) next
      n = split($0, lines, "\n")
      for (i = 1; i <= n; i++)
        print tolower(lines[i]) ~ /^types:/ ? "Types: deb-src" : lines[i]
      print ""
    }' "$file" >> "$apt_dir/parts/source.sources"
done

for file in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
  [[ -e $file ]] || continue
  awk -v suites="$suites" '
    $1 == "deb" {
      suite = 3
      if ($2 ~ /^\[/) { suite = 2; while ($suite !~ /\]$/) suite++; suite += 2 }
      if ($suite ~ suites) { sub(/deb/, "deb-src"); print }
    }' "$file" >> "$apt_dir/parts/source.list"
done

options=(
  -o Dir::Etc::sourcelist=/dev/null -o "Dir::Etc::sourceparts=$apt_dir/parts"
  -o "Dir::State::lists=$apt_dir/lists"
  -o "Dir::Cache::pkgcache=$apt_dir/pkgcache.bin"
  -o "Dir::Cache::srcpkgcache=$apt_dir/srcpkgcache.bin"
  -o "APT::Sandbox::User=$(id -un)" -o Acquire::Retries=3)
apt-get "${options[@]}" -q update
mkdir -p "$build_dir/downloads"
while read -r name version _; do
  tools/setup/check_sources.sh "$name" && continue
  # apt fails for want of a single file, such as a .dsc that the servers lack, but keeps the others once
  # it has checked them. The last line here tells whether they suffice.
  (cd "$build_dir/downloads" &&
    apt-get "${options[@]}" -q source --download-only --only-source "$name=$version" < /dev/null) ||
    say "apt-get has not fetched all of $name $version."
done < <(locked source)
tools/setup/check_sources.sh
