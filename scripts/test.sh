#!/usr/bin/env bash
# Builds and tests. On a bare Debian 12 it installs what it needs first.
#
#   test.sh          the Linux tests
#   test.sh --all    also the format, the header, the sanitizers, Windows (under Wine), the fuzz
#                    targets, the benchmarks' smoke run and the demo
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

logs=build/logs
mkdir -p "$logs"
done_stages=()

# Runs one stage. What it prints goes to its log; with "shown" in front, to the terminal as well.
# A function run by it must say "|| return 1" itself: the shell stops on its own only outside.
stage() {
    local shown=no
    if [ "$1" = shown ]; then
        shown=yes
        shift
    fi
    local title=$1 log status=0 began=$SECONDS
    shift
    log=$logs/$(tr -c 'a-z0-9\n' '-' <<<"${title,,}").log
    printf '\n=== %s (after %d:%02d)\n' "$title" $((SECONDS / 60)) $((SECONDS % 60))
    if [ "$shown" = yes ]; then
        "$@" 2>&1 </dev/null | tee "$log" || status=$?
    else
        "$@" >"$log" 2>&1 </dev/null || status=$?
    fi
    if [ "$status" -ne 0 ]; then
        [ "$shown" = yes ] || tail -n 60 "$log"
        printf '\n=== FAILED: %s (status %d; the whole log is %s)\n' "$title" "$status" "$log"
        exit 1
    fi
    done_stages+=("$(printf '%-42s %4d s' "$title" $((SECONDS - began)))")
}

# Tests mostly wait, so more of them run at once than there are processors.
run_tests() {
    ctest --test-dir "build/$1" --output-on-failure --no-tests=error -j 4
}

install_packages() { scripts/install-packages.sh "$@"; }

smoke_bench() {
    ZEL_BENCH_SECONDS=0.1 ZEL_BENCH_MODULE_SECONDS=2 scripts/performance.sh build/performance.md
}

fuzz_briefly() {
    local target name found=no
    for target in build/fuzz/bin/fuzz/fuzz_*; do
        [ -x "$target" ] || continue
        found=yes
        name=$(basename "$target")
        local kept=tests/fuzz/corpus/${name#fuzz_} fresh=build/fuzz/corpus/$name
        [ -d "$kept" ] || { echo "fuzz: $kept is missing" && return 1; }
        mkdir -p "$fresh" build/fuzz/artifacts
        echo "--- $name"
        # Everything kept is run once; then a little time for something new, which is not kept.
        scripts/in-private-network.sh "$target" -runs=0 "$kept" || return 1
        scripts/in-private-network.sh "$target" -max_total_time=20 -timeout=10 -rss_limit_mb=2048 \
            -print_final_stats=1 -artifact_prefix=build/fuzz/artifacts/ "$fresh" "$kept" ||
            return 1
    done
    [ "$found" = yes ] || { echo "fuzz: no target was built" && return 1; }
}

export ASAN_OPTIONS=detect_leaks=1:strict_string_checks=1:detect_stack_use_after_return=1
export UBSAN_OPTIONS=print_stacktrace=1
export TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1

all=no
case ${1:-} in
--all) all=yes ;;
'') ;;
*)
    echo "usage: test.sh [--all]" >&2
    exit 2
    ;;
esac

if [ "$all" = yes ]; then
    stage "Packages" install_packages all
    stage "Format" scripts/format.sh --check
else
    stage "Packages" install_packages
fi

stage "Linux build" scripts/build.sh linux
stage shown "Linux tests" run_tests linux
stage shown "Linux exports" scripts/check-exports.sh linux

if [ "$all" = yes ]; then
    if compgen -G 'bench/*.cpp' >/dev/null; then
        stage "Benchmarks smoke run" smoke_bench
    fi
    stage "Demo" scripts/demo.sh
    stage "Address sanitizer build" scripts/build.sh linux-asan
    stage shown "Address sanitizer tests" run_tests linux-asan
    stage "Thread sanitizer build" scripts/build.sh linux-tsan
    # The stress test's full minute, where races would show.
    ZEL_STRESS_SECONDS=60 stage shown "Thread sanitizer tests" run_tests linux-tsan
    stage "Windows build" scripts/build.sh windows
    stage shown "Windows exports" scripts/check-exports.sh windows
    stage shown "Header" scripts/check-header.sh
    # Made once here, so that no test has to wait for it.
    stage "Wine" scripts/wine.sh cmd /c exit
    stage shown "Windows tests" run_tests windows
    stage "Fuzz build" scripts/build.sh fuzz
    stage "Fuzz targets" fuzz_briefly
fi

printf '\n=== Summary\n'
printf '  passed  %s\n' "${done_stages[@]}"
printf 'All %d stages passed in %d:%02d.\n' "${#done_stages[@]}" $((SECONDS / 60)) $((SECONDS % 60))
