#!/usr/bin/env bash
# Builds the libFuzzer harnesses of fuzz/ (preset fuzz, clang) and runs them.
#   scripts/fuzz.sh --short                 each harness over its seed corpus plus a fixed number of
#                                           new inputs (CI: about a minute on 2 cores); non-zero on any finding
#   scripts/fuzz.sh --long SECONDS [NAME..] each harness (or the named ones) for SECONDS, keeping the
#                                           corpus it grows in build/fuzz/corpus/<name>
# Findings land in build/fuzz/findings/ (crash-*, leak-*, timeout-*, oom-*); reproduce one with
# build/fuzz/fuzz/fuzz_<name> <file>. Needs clang and libclang-rt-14-dev (scripts/install-deps.sh fuzz).
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
mode=${1:-}
case "$mode" in
  --short) shift ;;
  --long) seconds=${2:?"--long needs SECONDS"}; shift 2 ;;
  *) echo "usage: scripts/fuzz.sh --short | --long SECONDS [HARNESS...]" >&2; exit 2 ;;
esac

export CCACHE_DIR=${CCACHE_DIR:-/work/ccache} CCACHE_BASEDIR=${CCACHE_BASEDIR:-$root}
launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache)
cmake --preset fuzz "${launcher[@]}" >/dev/null
cmake --build --preset fuzz -j2

bin=$root/build/fuzz/fuzz
findings=$root/build/fuzz/findings
mkdir -p "$findings"

# Harness, dictionary, and the new inputs of a short run (the fast ones get more).
harnesses=(mdf_parser cdf_parser root_file_reader profile_document pdu_hex_text com_param_value
           module_display_name link_event_decoder monitor_line_decoder doip_line_decoder doip_frame)
declare -A dict=([mdf_parser]=mdf [cdf_parser]=cdf [root_file_reader]=root)
declare -A short_runs=([mdf_parser]=2000 [cdf_parser]=2500 [root_file_reader]=3000 [monitor_line_decoder]=10000
                   [doip_line_decoder]=20000)
[ $# -gt 0 ] && harnesses=("$@")

status=0
for h in "${harnesses[@]}"; do
  [ -x "$bin/fuzz_$h" ] || { echo "fuzz.sh: no harness $h" >&2; exit 2; }
  args=(-timeout=10 -rss_limit_mb=2048 -artifact_prefix="$findings/$h-" -print_final_stats=1)
  [ -n "${dict[$h]:-}" ] && args+=(-dict="$root/fuzz/dict/${dict[$h]}.dict")
  log=$root/build/fuzz/$h.log
  if [ "$mode" = --short ]; then
    # A scratch corpus: a CI run starts from the seeds every time and leaves the tree alone.
    work=$(mktemp -d)
    start=$(date +%s%N)
    if "$bin/fuzz_$h" "${args[@]}" -runs="${short_runs[$h]:-40000}" "$work" "$root/fuzz/corpus/$h" >"$log" 2>&1; then
      result=ok
    else
      result=FAILED; status=1
    fi
    files=$(ls "$work" | wc -l)
    rm -rf "$work"
  else
    work=$root/build/fuzz/corpus/$h
    mkdir -p "$work"
    start=$(date +%s%N)
    if "$bin/fuzz_$h" "${args[@]}" -max_total_time="$seconds" "$work" "$root/fuzz/corpus/$h" >"$log" 2>&1; then
      result=ok
    else
      result=FAILED; status=1
    fi
    files=$(ls "$work" | wc -l)
  fi
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
  ms=$(( ($(date +%s%N) - start) / 1000000 ))
  printf '%-22s %-6s %10s execs %4d.%d s  corpus %5s files\n' "$h" "$result" "${runs:-?}" \
    $((ms / 1000)) $((ms % 1000 / 100)) "$files"
  if [ "$result" = FAILED ]; then
    grep -E "^==[0-9]+==ERROR|runtime error|SUMMARY|Test unit written|^artifact_prefix" "$log" | head -8 | sed 's/^/    /'
  fi
done
exit $status
