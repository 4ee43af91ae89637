#!/bin/bash
# Unpacks the pinned sources from build/downloads and cross-compiles them into build/deps.
set -euo pipefail
cd "$(dirname "$0")/../.."
source tools/setup/common.sh

sources=$build_dir/src
result=$build_dir/libraries/result
rm -rf "$sources" "$build_dir/libraries"
mkdir -p "$sources" "$result/include"

while read -r name version hash; do
  tools/setup/check_source.sh "$name" "$version" "$hash"
  case $name in
    boost*)
      # Debian's patches touch nothing in there, and the whole tree would be 600 MB.
      tar -xJf "$build_dir/downloads/${name}_${version%-*}.orig.tar.xz" -C "$sources" \
        --wildcards '*/libs/thread/src/*'
      mv "$sources"/boost* "$sources/boost-unpacked"
      mv "$sources/boost-unpacked" "$sources/boost"
      ;;
    *) dpkg-source -x "$build_dir/downloads/${name}_${version}.dsc" "$sources/$name" ;;
  esac
done < <(locked source)

# Debian's patch has TinyXML offer the C++ library's streams, which would come into FolivoPlugin.dll
# with all locales; without it, it keeps its texts in a class of its own, as its makers ship it.
patch --reverse --strip 1 --directory "$sources/tinyxml" \
  < "$sources/tinyxml/debian/patches/enforce-use-stl.patch"

# The one folder of headers that may be shared with Windows: /usr/include itself must never be on
# the include path of the cross-compiler.
ln -s /usr/include/boost "$result/include/boost"

cmake -G Ninja -S cmake/libraries -B "$build_dir/libraries" \
  --toolchain "$root/cmake/toolchain-mingw64.cmake" \
  -DCMAKE_BUILD_TYPE=Release "-DCMAKE_INSTALL_PREFIX=$result" \
  "-DBOOST_SOURCE=$sources/boost" "-DTINYXML_SOURCE=$sources/tinyxml" \
  "-DUNZIP_SOURCE=$sources/unzip"
cmake --build "$build_dir/libraries" --target install

# Only now, in one go: the libraries that are in use stay usable until there are new ones.
rm -rf "$build_dir/deps"
mv "$result" "$build_dir/deps"
