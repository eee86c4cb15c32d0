#!/bin/sh
# Installs what a fresh Debian machine lacks, then the npm packages.
# Usage: sh scripts/setup.sh [build|docs|test|bench|sanitize|fuzz|digest|wasm|prebuild]
set -eu
cd "$(dirname "$0")/.."

purpose=${1:-build}
packages="g++ cmake ninja-build libboost-dev"
packages="$packages libdeflate-dev libexpat1-dev libfast-float-dev libminizip-dev zlib1g-dev"
packages="$packages nlohmann-json3-dev"
case $purpose in
  build) ;;
  docs) packages="$packages doxygen" ;;
  test)
    packages="$packages libgtest-dev libgmock-dev libbenchmark-dev libpng-dev"
    packages="$packages clang-format clang-tidy llvm pkgconf make python3 chromium doxygen redis-server"
    packages="$packages emscripten dpkg-dev"
    ;;
  bench) packages="$packages libbenchmark-dev libopencv-dev libpng-dev" ;;
  sanitize | fuzz)
    packages="$packages clang libclang-rt-dev libgtest-dev libgmock-dev libpng-dev"
    ;;
  digest)
    packages="$packages clang libc++-dev libc++abi-dev g++-aarch64-linux-gnu qemu-user"
    packages="$packages emscripten dpkg-dev"
    ;;
  wasm) packages="$packages emscripten dpkg-dev" ;;
  prebuild)
    packages="$packages dpkg-dev xz-utils llvm qemu-user wine wine64"
    packages="$packages libc6-arm64-cross libstdc++6-arm64-cross"
    ;;
  *)
    echo "setup: unknown purpose '$purpose': use build, docs, test, bench, sanitize, fuzz, digest, wasm or prebuild" >&2
    exit 2
    ;;
esac

if command -v dpkg-query >/dev/null 2>&1; then
  missing=
  for package in $packages; do
    state=$(dpkg-query -W -f '${Status}' "$package" 2>/dev/null || true)
    [ "$state" = "install ok installed" ] || missing="$missing $package"
  done
  if [ -n "$missing" ]; then
    if [ "$(id -u)" = 0 ]; then
      echo "setup: installing$missing"
      apt-get update -qq
      DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends $missing >/dev/null
    else
      echo "setup: these Debian packages are missing; install them, then run this again:" >&2
      echo "  sudo apt-get install$missing" >&2
      exit 1
    fi
  fi
else
  echo "setup: not a Debian system; these packages, or their like, must be installed: $packages"
fi

if [ ! -f node_modules/.package-lock.json ] || [ package-lock.json -nt node_modules/.package-lock.json ]; then
  echo "setup: installing npm packages"
  npm ci --loglevel error
  # npm keeps the old time stamp when nothing had to change.
  touch node_modules/.package-lock.json
fi
