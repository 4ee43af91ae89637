# setup PURPOSE...: brings the machine and build/deps to the state that dependencies.lock describes, as
# far as the purposes in there need it (sourced by ./run). Each step looks first whether its result is
# there, so a second run is quick, needs no network, and goes on where an interrupted one stopped.
all_purposes() { locked package | awk '{ print $2 ? $2 : "build" }' | sort -u; }

# The programs that the steps call, with their packages: a package can be installed and its program
# removed or never unpacked.
programs=(
  build:cmake:cmake build:ninja:ninja-build build:patch:patch build:dpkg-source:dpkg-dev
  build:python3:python3 build:x86_64-w64-mingw32-g++-win32:g++-mingw-w64-x86-64-win32
  build:x86_64-w64-mingw32-windres:binutils-mingw-w64-x86-64
  build:x86_64-w64-mingw32-widl:mingw-w64-tools
  wine:/usr/lib/wine/wine64:wine64 wine:/usr/lib/wine/wineserver64:wine64 wine:Xvfb:xvfb
  wine:import:imagemagick-6.q16 bench:curl:curl lint:clang-format-19:clang-format-19
  lint:clang-tidy-19:clang-tidy-19 lint:clang-cl-19:clang-tools-19 lint:llvm-rc-19:llvm-19
  lint:shellcheck:shellcheck ubsan:clang++-19:clang-19
  ubsan:lld-19:lld-19 test:ld.lld-19:lld-19 package:wixl:wixl package:msibuild:msitools
  package:osslsigncode:osslsigncode test:msibuild:msitools test:softhsm2-util:softhsm2)

# wanted_packages PURPOSE...
wanted_packages() {
  locked package | awk -v purposes=" $* " 'index(purposes, " " ($2 ? $2 : "build") " ") { print $1 }'
}

missing_packages() {
  local wanted installed
  mapfile -t wanted < <(wanted_packages "$@")
  installed=$(dpkg-query -W -f '${db:Status-Abbrev} ${Package}\n' "${wanted[@]}" 2> /dev/null |
    sed -n 's/^ii *//p' | sort -u) || true
  comm -13 <(printf '%s\n' "$installed") <(printf '%s\n' "${wanted[@]}" | sort -u)
}

check_programs() {
  local entry program
  for entry in "${programs[@]}"; do
    program=${entry#*:}
    [[ " $* " == *" ${entry%%:*} "* ]] || continue
    # Bash also finds files that cannot be run.
    [[ -x $(type -P "${program%:*}") ]] ||
      die "${program%:*} is missing, although its package is installed. As root, run:" \
        "  apt-get install --reinstall ${program##*:}"
  done
}

install_packages() {
  local missing as_root=()
  dpkg-query --version > /dev/null 2>&1 ||
    die "This needs Debian 12 (bookworm): there is no dpkg-query here."
  mapfile -t missing < <(missing_packages "$@")
  ((${#missing[@]} == 0)) && return
  command -v apt-get > /dev/null || die "This needs Debian 12 (bookworm): there is no apt-get here."
  if ((EUID != 0)); then
    local by_hand="apt-get install --no-install-recommends ${missing[*]}"
    command -v sudo > /dev/null ||
      die "Debian packages are missing, and neither root nor sudo is at hand. As root, run:" \
        "  $by_hand"
    sudo -v || die "Debian packages are missing, and sudo refused. As root, run:" "  $by_hand"
    as_root=(sudo)
  fi
  step packages "Installing ${#missing[@]} Debian packages" \
    "Is the network reachable and is another apt running? Then run the same command again." \
    "${as_root[@]}" tools/setup/install_packages.sh "${missing[@]}"
}

fetch_sources() {
  tools/setup/check_sources.sh > /dev/null 2>&1 && return
  step sources "Fetching library sources" \
    "Is the network reachable? Do apt's sources have both bookworm and bookworm-security? Then run it again." \
    tools/setup/fetch_sources.sh
}

build_libraries() {
  # Everything that decides about the result; when nothing of it changed, the result stays.
  local key
  key=$({
    locked source
    dpkg-query -W -f '${Package} ${Version}\n' g++-mingw-w64-x86-64-win32 libboost1.74-dev
    find cmake/libraries cmake/vcpkg-ports unzip -type f -print0 | sort -z | xargs -0 cat
    cat cmake/toolchain-*.cmake tools/setup/build_libraries.sh
    echo "$root"
  } | sha256sum)
  local stamp=$build_dir/deps/.built
  [[ -e $stamp && $(< "$stamp") == "$key" ]] && return
  rm -f "$stamp"
  step libraries "Building Boost.Thread, TinyXML and UNZIP32.DLL" \
    "If the sources are damaged: ./run clean --all, then the same command again." \
    tools/setup/build_libraries.sh
  echo "$key" > "$stamp"
}

setup() {
  install_packages "$@"
  check_programs "$@"
  fetch_sources
  build_libraries
}
