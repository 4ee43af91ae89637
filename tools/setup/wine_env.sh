# A private Wine for tests and demo (source common.sh first, then this):
#
#   wine_env_start NAME [--own-display] [--hosts FILE] [--reuse]
#     A fresh prefix build/wine/NAME, with C:, registry and user folders of its own, on a private
#     display of 1280x1024, 24 bits. Exports all that `"$WINE" program.exe` needs. --own-display
#     shows the windows on the caller's $DISPLAY instead. --hosts names a file like /etc/hosts
#     that decides about host names for everything started afterwards. --reuse takes the prefix as
#     the last run of this name has left it, if there is one of this Wine; that saves seconds.
#   wine_env_stop
#     Ends what was started, and nothing else. Happens by itself when the script ends.
#   wine_env_registry < FILE
#     Imports a .reg file (without its first line) into the prefix.
#
# Only one script at a time may use a NAME; different names may run side by side.

# The loader itself: a wrapper, where there is one, looks for the 32-bit loader first.
export WINE=/usr/lib/wine/wine64
wineserver=/usr/lib/wine/wineserver64
wine_env_name=
wine_env_display_pid=

# Without a debugger a crash ends with a crash's exit code. The debugger would wait for somebody to
# close its window or, when told to be quiet, lose the exit code every now and then.
wine_env_overrides='mshtml=d;mscoree=d;winemenubuilder.exe=d;winedbg.exe=d'

wine_env_export() {
  export WINEPREFIX=$1 WINEARCH=win64 WINEDEBUG=-all WINEDLLOVERRIDES=$wine_env_overrides
  export HOME=${HOME:-/root}
  # WinINet would obey them, for loopback too.
  unset http_proxy https_proxy ftp_proxy all_proxy no_proxy
  unset HTTP_PROXY HTTPS_PROXY FTP_PROXY ALL_PROXY NO_PROXY
}

wine_env_registry() {
  local file=$WINEPREFIX/drive_c/windows/temp/wine_env.reg
  { printf 'REGEDIT4\n\n' && cat; } > "$file"
  "$WINE" regedit /S 'C:\windows\temp\wine_env.reg' < /dev/null > /dev/null 2>&1
  rm "$file"
}

# Starts the prefix's background services before anything else does: they keep the standard output
# of the program that happens to start them open, and with it the pipe of whoever reads that.
wine_env_warm_up() {
  (
    close_locks
    exec < /dev/null > /dev/null 2>&1
    "$wineserver" -p
    # rundll32 makes a window, and for the first window Wine starts the desktop's process.
    "$WINE" rundll32 user32.dll,GetDesktopWindow
  )
}

# The display server writes its number when it is ready, so there is nothing to poll.
wine_env_start_display() {
  local ready number
  exec {ready}< <(
    close_locks
    FOLIVO_WINE_ENV=$build_dir/wine/$wine_env_name exec setsid \
      Xvfb -displayfd 1 -screen 0 1280x1024x24 -nolisten tcp -noreset \
      2> "$log_dir/display-$wine_env_name.log" < /dev/null
  )
  wine_env_display_pid=$!
  echo "$wine_env_display_pid" > "$build_dir/wine/$wine_env_name.display-pid"
  read -r -t 60 number <&"$ready" ||
    die "The virtual display (Xvfb) did not start: $(tail -n 1 "$log_dir/display-$wine_env_name.log")" \
      "Can it write to /tmp/.X11-unix? The whole log: build/logs/display-$wine_env_name.log"
  exec {ready}<&-
  export DISPLAY=:$number
}

wine_env_stop_display() {
  local pid=$1
  # A pid file that outlived its process may name a stranger by now.
  grep -qzsxF "FOLIVO_WINE_ENV=$build_dir/wine/$wine_env_name" "/proc/$pid/environ" || return 0
  kill "$pid" 2> /dev/null || true
}

# Making a prefix takes seconds, copying one a fraction of that: the first use makes a template.
wine_env_make_template() {
  local template=$build_dir/wine/template key
  key=$({
    dpkg-query -W -f '${Version}' wine64 fonts-wine
    cat "$root/tools/setup/make_wine_prefix.sh"
  } | sha256sum)
  # Two scripts may want it at the same time.
  exec {template_lock}> "$build_dir/wine/template.lock"
  flock "$template_lock"
  if [[ ! -e $template/.ready || $(< "$template/.ready") != "$key" ]]; then
    rm -rf "$template"
    step wine-prefix "Preparing Wine" "Remove build/wine and try again." \
      "$root"/tools/setup/make_wine_prefix.sh "$template"
    echo "$key" > "$template/.ready"
  fi
  exec {template_lock}>&-
}

# wine_env_copy_template PREFIX: what programs write is copied. Wine's own programs, 670 MB that
# nobody writes to, are linked.
wine_env_copy_template() {
  local template=$build_dir/wine/template
  # Some file systems have no links.
  cp -al "$template" "$1" 2> /dev/null || { rm -rf "$1" && cp -a "$template" "$1" && return; } || return
  (
    cd "$template" || return
    find . -type f -not \( -path './drive_c/windows/*' -regex '.*\.\(dll\|exe\|drv\|sys\|ocx\|tlb\)' \) \
      -print0 | xargs -0 cp -a --parents --remove-destination -t "$1"
  )
}

# wine_env_renew PREFIX: ends what runs in a prefix that was started, and makes it as new.
wine_env_renew() {
  "$wineserver" -k < /dev/null > /dev/null 2>&1 || true
  "$wineserver" -w < /dev/null > /dev/null 2>&1 || true
  rm -rf "$1"
  wine_env_copy_template "$1"
  wine_env_warm_up
}

wine_env_start() {
  wine_env_name=$1
  shift
  local own_display='' reuse=''
  while (($#)); do
    case $1 in
      --own-display) own_display=yes ;;
      --reuse) reuse=yes ;;
      --hosts)
        export NSS_WRAPPER_HOSTS=$2 LD_PRELOAD=libnss_wrapper.so
        shift
        ;;
      *) die "wine_env_start: unknown option $1" ;;
    esac
    shift
  done
  local prefix=$build_dir/wine/$wine_env_name
  mkdir -p "$build_dir/wine" "$log_dir"
  exec {wine_env_lock}> "$prefix.lock"
  flock -n "$wine_env_lock" ||
    die "Another ./run $wine_env_name is at work in this checkout. Wait for its end, then run it again." \
      "If it was killed, what is left of it ends by itself."
  at_exit wine_env_stop

  # What a run that was killed may have left behind.
  wine_env_export "$prefix"
  [[ ! -d $prefix ]] || "$wineserver" -k > /dev/null 2>&1 || true
  [[ ! -e $prefix.display-pid ]] || wine_env_stop_display "$(< "$prefix.display-pid")"

  wine_env_make_template
  if [[ ! $reuse ]] || ! cmp -s "$build_dir/wine/template/.ready" "$prefix/.whole"; then
    rm -rf "$prefix"
    wine_env_copy_template "$prefix" ||
      die "The private Wine could not be copied to ${prefix#"$root"/}." "$(outer_cause /dev/null)"
    cp "$prefix/.ready" "$prefix/.whole"  # last: a copy that was interrupted has none
  fi
  [[ $own_display ]] || wine_env_start_display
  [[ ${DISPLAY-} ]] || die "There is no display: DISPLAY is not set."
  wine_env_warm_up
  if [[ $own_display ]]; then
    # The template leaves the window manager out, so that Wine draws title bars by itself.
    wine_env_registry <<< $'[HKEY_CURRENT_USER\\Software\\Wine\\X11 Driver]\n"Managed"="Y"'
  fi
}

wine_env_stop() {
  [[ $wine_env_name ]] || return 0
  "$wineserver" -k < /dev/null > /dev/null 2>&1 || true
  "$wineserver" -w < /dev/null > /dev/null 2>&1 || true
  if [[ $wine_env_display_pid ]]; then
    wine_env_stop_display "$wine_env_display_pid"
    wait "$wine_env_display_pid" 2> /dev/null || true
    rm -f "$build_dir/wine/$wine_env_name.display-pid"
  fi
  wine_env_display_pid=
  wine_env_name=
  exec {wine_env_lock}>&-
  wine_env_lock=
}
