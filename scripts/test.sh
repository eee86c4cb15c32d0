#!/bin/bash
# The whole test run: set-up, build, C++ and JavaScript tests, formatting, lint and types.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/stages.sh

build() {
  cmake --preset release -DSTILTFORGE_TESTS=ON >/dev/null
  cmake --build build
  npx tsc -b
  npm run --silent build -w stiltforge-viewer
}

stage 'Set-up' sh scripts/setup.sh test
stage 'Build, types' build
stage 'WebAssembly' sh scripts/build_wasm.sh
stage 'Page' npm run --silent build -w stiltforge-web
stage 'C++ tests' ctest --test-dir build --output-on-failure --parallel 2 --progress
stage 'JavaScript tests' node --test --test-concurrency=2 tests/*.test.mjs packages/*/test/*.test.mjs examples/*/test/*.test.mjs
stage 'Formatting, lint' npm run --silent lint
echo 'all checks passed'
