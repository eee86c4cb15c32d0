#!/bin/sh
# Builds stiltforge_check_faults and runs it: what the check finds of faults built into prints.
# Usage: sh scripts/bench_check.sh [NUMBER OF PRINTS]
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
(cd "$root" && cmake --preset bench && cmake --build build/bench --target stiltforge_check_faults) >&2
exec "$root/build/bench/bench/check/stiltforge_check_faults" "$@"
