#!/bin/sh
# Builds stiltforge/wasm: the module into build/wasm, the package's script and types into dist/wasm.
set -eu
cd "$(dirname "$0")/.."
CC=emcc AR=emar CFLAGS=-O3 sh scripts/third_party.sh build/wasm/third_party
cmake --preset wasm >/dev/null
cmake --build build/wasm --target stiltforge_wasm
npx tsc -b packages/stiltforge/tsconfig.wasm.json
npm run --silent build:wasm -w stiltforge
