#!/bin/bash
# Makes what is handed out in build/dist, from what was built: package.sh [--sign]
set -euo pipefail
cd "$(dirname "$(readlink -f "$0")")/../.."
source tools/setup/common.sh

usage() {
  cat << 'END'
Usage: ./run package [--sign]

Makes what is handed out, in build/dist, the same bytes each time:
  FolivoPlugin-<version>-x64.msi     the installer
  FolivoPlugin-<version>-x64.zip     DLLs, symbols, licenses and documents
  FolivoPlugin-<version>.spdx.json   what the DLLs are made of (SPDX 2.3)
  SHA256SUMS
The version is that in version.txt. All files bear the time SOURCE_DATE_EPOCH, by default 1980.

--sign also signs the DLLs, before they are packed, and the installer. Signed files differ at each
run. Environment variables say by what; none of them is needed without --sign:
  FOLIVO_SIGN_CERTIFICATE    file with certificate and key (.p12, .pfx), or PEM file with the
                             certificate and those between it and its root
  FOLIVO_SIGN_KEY            the key of a PEM certificate: a PEM file, or its PKCS#11 URI in the token
  FOLIVO_SIGN_PASSWORD       password of the key's file, or PIN of the token
  FOLIVO_SIGN_PKCS11_MODULE  driver library of the token
  FOLIVO_SIGN_PKCS11_CERTIFICATE
                             PKCS#11 URI of the certificate, if it is in the token
  FOLIVO_SIGN_PKCS11_ENGINE  OpenSSL's engine for tokens; by default Debian's
  FOLIVO_SIGN_TIMESTAMP_URL  RFC 3161 time-stamp server; by default none is asked
  FOLIVO_SIGN_CA_FILE        root certificates that the signatures are verified by (PEM); by default
                             the machine's
END
}

only_check=
if [[ ${1-} == --only-check-arguments ]]; then
  only_check=yes
  shift
fi
signed=
case "$*" in
  '') ;;
  --sign) signed=yes ;;
  --help | -h)
    usage
    exit
    ;;
  *) die "./run package does not know $*. See ./run package --help." ;;
esac

dist=$build_dir/dist
package() { /usr/bin/python3 -B tools/package/package.py "$@"; }

# Nothing of an earlier run stays under the names of what is made now.
rm -rf "$dist"
# Before minutes of building; on a machine without Python afterwards.
if [[ $signed && (! $only_check || -x /usr/bin/python3) ]]; then
  reason=$(package check 2>&1) || die "$reason" "Nothing was made."
fi
[[ ! $only_check ]] || exit 0

lock_checkout
work=$build_dir/package
# Nothing half made, or unsigned, stays under the names of what is handed out.
remove_work() { rm -rf "$work"; }
at_exit remove_work
# package_step NAME TEXT
package_step() {
  step "package-$1" "$2" "Nothing was made; build/dist is empty." \
    /usr/bin/python3 -B tools/package/package.py "$1" "$build_dir/release" "$work"
}

package_step collect "Collecting the files"
[[ ! $signed ]] || package_step sign-dlls "Signing the DLLs"
package_step installer "Making the installer"
[[ ! $signed ]] || package_step sign-installer "Signing the installer"
package_step bill "Listing what the DLLs are made of"
package_step archive "Making the archive"
package_step checksums "Checksums"
# In one go, so that what lies there is whole.
mv "$work/dist" "$dist"
say "build/dist${signed:+ (signed)}:"
(cd "$dist" && stat --printf '  %-36n %9s bytes\n' -- *)
