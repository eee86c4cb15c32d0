#!/bin/sh
# The whole test run: set-up, build, C++ and JavaScript tests, formatting, lint and types.
set -eu
cd "$(dirname "$0")/.."

sh scripts/setup.sh test
cmake --preset release -DSTILTFORGE_TESTS=ON >/dev/null
cmake --build build
npx tsc -b

echo "== C++ tests"
ctest --test-dir build --output-on-failure --parallel 2 --progress

echo "== JavaScript tests"
node --test tests/*.test.mjs packages/*/test/*.test.mjs

echo "== Formatting, lint, types"
npm run --silent lint
echo "all checks passed"
