#!/usr/bin/env bash
# The colour pass bench: each case three times, medians reported.
# Usage: bench/looks/run.sh [build folder, default build]
set -euo pipefail
cd "$(dirname "$0")/../.."
build=${1:-build}
"$build"/bin/LooksBench --benchmark_repetitions=3 --benchmark_report_aggregates_only=true \
  --benchmark_counters_tabular=true
