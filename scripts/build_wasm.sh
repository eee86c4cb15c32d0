#!/bin/sh
# Builds stiltforge/wasm: the module into build/wasm, the package's script and types into dist/wasm.
set -eu
cd "$(dirname "$0")/.."
node scripts/libraries/sources.mjs
cmake -S scripts/libraries -B build/wasm/libraries -G Ninja -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_TOOLCHAIN_FILE=/usr/share/emscripten/cmake/Modules/Platform/Emscripten.cmake \
  -DCMAKE_INSTALL_PREFIX="$PWD/build/wasm/installed" -DSOURCES="$PWD/build/libraries/sources" >/dev/null
cmake --build build/wasm/libraries --target install >/dev/null
cmake --preset wasm >/dev/null
cmake --build build/wasm --target stiltforge_wasm
npx tsc -b packages/stiltforge/tsconfig.wasm.json
npm run --silent build:wasm -w stiltforge
