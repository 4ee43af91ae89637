#!/bin/bash
# Makes the Wine prefix that tests and demo start from: make_wine_prefix.sh FOLDER
set -euo pipefail
cd "$(dirname "$0")/../.."
source tools/setup/common.sh
source tools/setup/wine_env.sh

folder=$1
wine_env_export "$folder.new"
unset DISPLAY  # making it without is quicker, and no window can be waiting for an answer
"$wineserver" -k || true
rm -rf "$folder.new"
mkdir -p "$folder.new"
end_wine() { "$wineserver" -k || true; }
at_exit end_wine
"$WINE" wineboot -i

# The user's folders are links into the home folder of whoever builds. Tests must not write there.
find "$WINEPREFIX/drive_c/users" -type l -print | while read -r link; do
  rm "$link"
  mkdir "$link"
done

# Debian's Wine does not look where Debian puts Wine's own fonts (Tahoma for dialogs, Marlett for
# the buttons in title bars).
ln -s /usr/share/wine/fonts/* "$WINEPREFIX/drive_c/windows/Fonts/"

# Managed=N: there is no window manager on the private display, so Wine draws the title bars. It
# draws those of active windows too in the colours of inactive ones, so these get the others'.
# Grey-scale font smoothing: screenshots stay legible, and have no coloured fringes when enlarged.
wine_env_registry << 'END'
[HKEY_CURRENT_USER\Software\Wine\X11 Driver]
"Managed"="N"

[HKEY_CURRENT_USER\Control Panel\Colors]
"InactiveTitle"="50 150 250"
"GradientInactiveTitle"="50 150 250"
"InactiveTitleText"="0 0 0"

[HKEY_CURRENT_USER\Control Panel\Desktop]
"FontSmoothing"="2"
"FontSmoothingType"=dword:00000001
"FontSmoothingGamma"=dword:00000578
"FontSmoothingOrientation"=dword:00000001

[HKEY_CURRENT_USER\Software\Wine\WineDbg]
"ShowCrashDialog"=dword:00000000
END

end_wine
"$wineserver" -w || true
# Whether a prefix must be updated is decided by a date; a copy, or another machine's, must not be.
echo disable > "$WINEPREFIX/.update-timestamp"
rm -rf "$folder"
mv "$folder.new" "$folder"
