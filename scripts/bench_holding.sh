#!/bin/sh
# Builds stiltforge_holding and runs it: what the supports hold of the given meshes, as a table.
# Usage: sh scripts/bench_holding.sh [options] MESH or FOLDER ...
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
(cd "$root" && cmake --preset bench && cmake --build build/bench --target stiltforge_holding) >&2
exec "$root/build/bench/bench/holding/stiltforge_holding" "$@"
