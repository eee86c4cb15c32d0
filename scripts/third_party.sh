#!/bin/sh
# Builds the libraries that the readers of files need, from Debian's source packages, for a target
# that Debian has no binaries of. Usage: CC=... AR=... CFLAGS=... sh scripts/third_party.sh FOLDER
# Leaves FOLDER/lib/lib{z,minizip,expat,deflate}.a, and FOLDER/include with their headers and links
# to those of the header-only libraries. Does nothing where that is done already.
set -eu
: "${CC:?} ${AR:?}"
CFLAGS=${CFLAGS:--O2}
mkdir -p "$1"
folder=$(cd "$1" && pwd)
cd "$(dirname "$0")/.."

made="$CC $AR $CFLAGS $(cksum <scripts/third_party.sh)"
[ "$(cat "$folder/made" 2>/dev/null)" = "$made" ] && exit 0

# Sources come from where the system has its packages of Debian from. Its own list of packages need
# not name sources, so this one is kept apart from it.
sources=$PWD/build/third_party
mkdir -p "$sources/lists/partial" "$sources/cache/archives/partial"
release=$(. /etc/os-release && echo "$VERSION_CODENAME")
keys=/usr/share/keyrings/debian-archive-keyring.gpg
repositories() {
  apt-get indextargets --format '$(ORIGIN) $(RELEASE) $(REPO_URI) $(COMPONENT)' 'Created-By: Packages' |
    awk -v release="$release" -v keys="$keys" \
      '$1 == "Debian" && $2 == release { print "deb-src [signed-by=" keys "]", $3, $2, $4 }' | sort -u
}
[ -n "$(repositories)" ] || apt-get -qq update
repositories >"$sources/sources.list"
if [ ! -s "$sources/sources.list" ]; then
  echo "third_party: apt knows no repository of Debian, whose source packages are needed" >&2
  exit 1
fi
debian() {
  apt-get -qq -o Dir::Etc::SourceList="$sources/sources.list" -o Dir::Etc::SourceParts=/dev/null \
    -o Dir::State::Lists="$sources/lists" -o Dir::Cache="$sources/cache" \
    -o APT::Sandbox::User=root "$@"
}
for package in zlib minizip expat libdeflate; do
  [ -d "$sources/$package" ] && continue
  [ -n "$(ls "$sources"/lists/*Sources* 2>/dev/null)" ] || debian update
  (cd "$sources" && debian source --download-only "$package")
  # What apt has checked against the signed list needs no second signature.
  dpkg-source --no-check -x "$sources/$package"_*.dsc "$sources/$package.part" >/dev/null
  mv "$sources/$package.part" "$sources/$package"
done

rm -rf "$folder/include" "$folder/lib" "$folder/objects" "$folder/made"
mkdir -p "$folder/include/minizip" "$folder/lib"
for headers in boost fast_float nlohmann; do
  ln -s "/usr/include/$headers" "$folder/include/$headers"
done

# library NAME SOURCE_FOLDER "FLAGS" FILE...
library() {
  name=$1 from=$2 flags=$3
  shift 3
  mkdir -p "$folder/objects/$name"
  for file in "$@"; do
    # shellcheck disable=SC2086
    $CC $CFLAGS -w $flags -I"$folder/include" -c "$from/$file.c" \
      -o "$folder/objects/$name/$(basename "$file").o"
  done
  $AR rcs "$folder/lib/lib$name.a" "$folder/objects/$name"/*.o
}

cp "$sources/zlib/zlib.h" "$sources/zlib/zconf.h" "$folder/include"
library z "$sources/zlib" -DHAVE_UNISTD_H adler32 crc32 inflate inffast inftrees zutil

cp "$sources/minizip/unzip.h" "$sources/minizip/ioapi.h" "$folder/include/minizip"
library minizip "$sources/minizip" "-DNOUNCRYPT -DUSE_FILE32API" unzip ioapi

cp "$sources/expat/expat/lib/expat.h" "$sources/expat/expat/lib/expat_external.h" "$folder/include"
mkdir -p "$folder/objects/expat"
cat >"$folder/objects/expat/expat_config.h" <<'CONFIG'
#define BYTEORDER 1234
#define XML_CONTEXT_BYTES 1024
#define XML_DTD 1
#define XML_NS 1
#if defined(__APPLE__)
#define HAVE_ARC4RANDOM_BUF
#elif defined(__linux__) && !defined(__EMSCRIPTEN__)
#define HAVE_GETRANDOM
#elif !defined(_WIN32)
#define XML_POOR_ENTROPY
#endif
CONFIG
library expat "$sources/expat/expat/lib" "-DXML_STATIC -I$folder/objects/expat" xmlparse xmlrole xmltok

cp "$sources/libdeflate/libdeflate.h" "$folder/include"
library deflate "$sources/libdeflate" "-I$sources/libdeflate" \
  lib/deflate_decompress lib/zlib_decompress lib/adler32 lib/crc32 lib/utils

rm -rf "$folder/objects"
echo "$made" >"$folder/made"
