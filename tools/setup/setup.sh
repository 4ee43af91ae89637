# ./run setup (sourced): brings the machine and build/deps to the state that dependencies.lock
# describes. Each step looks first whether its result is there, so a second run is quick, needs no
# network, and goes on where an interrupted one stopped.

missing_packages() {
  local wanted installed
  mapfile -t wanted < <(locked package)
  installed=$(dpkg-query -W -f '${db:Status-Abbrev} ${Package}\n' "${wanted[@]}" 2> /dev/null |
    sed -n 's/^ii *//p' | sort -u) || true
  comm -13 <(printf '%s\n' "$installed") <(printf '%s\n' "${wanted[@]}" | sort -u)
}

install_packages() {
  local missing as_root=()
  mapfile -t missing < <(missing_packages)
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
    "Is the network reachable and is another apt running? Then run ./run setup again." \
    "${as_root[@]}" tools/setup/install_packages.sh "${missing[@]}"
}

fetch_sources() {
  tools/setup/check_sources.sh > /dev/null 2>&1 && return
  step sources "Fetching library sources" \
    "Is the network reachable? Is the version in dependencies.lock still served?" \
    tools/setup/fetch_sources.sh
}

build_libraries() {
  # Everything that decides about the result; when nothing of it changed, the result stays.
  local key
  key=$({
    locked source
    dpkg-query -W -f '${Package} ${Version}\n' g++-mingw-w64-x86-64-win32 libboost1.74-dev
    cat cmake/libraries/* cmake/toolchain-*.cmake tools/unzip32/* tools/setup/build_libraries.sh
    echo "$root"
  } | sha256sum)
  local stamp=$build_dir/deps/.built
  [[ -e $stamp && $(< "$stamp") == "$key" ]] && return
  rm -f "$stamp"
  step libraries "Building Boost.Thread, TinyXML and UNZIP32.DLL" \
    "If the sources are damaged: ./run clean --all, then ./run setup." \
    tools/setup/build_libraries.sh
  echo "$key" > "$stamp"
}

setup() {
  install_packages
  fetch_sources
  build_libraries
}
