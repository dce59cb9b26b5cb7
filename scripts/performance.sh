#!/usr/bin/env bash
# Measures the library beside bare sockets, and beside other libraries' round trips, and writes the
# figures into the tables of docs/performance.md. Takes about three minutes; nothing else should run
# meanwhile. Nothing that it sends leaves the machine. On a bare Debian 12 it installs and builds what
# it needs first.
#
#   performance.sh [PAGE]   writes a copy of the page instead
#
# In the environment: ZEL_BENCH_SECONDS, how long each comparison lasts, and ZEL_BENCH_MODULE_SECONDS,
# how long a thousand modules measure.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

page=docs/performance.md
result=${1:-$page}
figures=build/performance.json
export ZEL_BENCH_SECONDS=${ZEL_BENCH_SECONDS:-3}
export ZEL_BENCH_MODULE_SECONDS=${ZEL_BENCH_MODULE_SECONDS:-60}

scripts/install-packages.sh bench ||
    echo "performance: libmodbus and ZeroMQ are left out where they are missing" >&2
# Again, so that packages are found that have come since.
cmake --preset linux >/dev/null
scripts/build.sh linux zel_bench
# Jiffies that the processors had nothing to do.
idle() { awk '/^cpu / { print $5 + $6 }' /proc/stat; }
before=$(idle)
sleep 2
beside=nothing
if [ $(($(idle) - before)) -lt $((180 * $(nproc))) ]; then
    beside="other programs, which make the figures worse and less steady, those at p99 above all"
    echo "performance: something else runs on this machine, which the figures will show" >&2
fi
scripts/in-private-network.sh build/linux/bin/zel_bench --benchmark_min_time=0.01 \
    --benchmark_out_format=json --benchmark_out="$figures"

machine=$(sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | head -n 1)
processors=$(nproc)
kernel=$(uname -sr | sed 's/-.*//')
compiler=$(sed -n 's/^CMAKE_CXX_COMPILER:[^=]*=//p' build/linux/CMakeCache.txt)
compiler=$("$compiler" --version | head -n 1)
tables=$(mktemp)
trap 'rm -f "$tables"' EXIT

# One line for each line of a table, with the table's name before it.
awk -v machine="$machine" -v processors="$processors" -v kernel="$kernel" -v compiler="$compiler" \
    -v today="$(date +%F)" -v seconds="$ZEL_BENCH_SECONDS" \
    -v module_seconds="$ZEL_BENCH_MODULE_SECONDS" -v beside="$beside" '
    match($0, /^ *"[^"]+": /) {
        key = substr($0, RSTART, RLENGTH)
        gsub(/[" :]+$|^ *"/, "", key)
        value = substr($0, RSTART + RLENGTH)
        sub(/,$/, "", value)
        if (key == "name") {
            gsub(/"|\/iterations:1|\/real_time/, "", value)
            name = value
        }
        figure[name, key] = value
        has[name] = 1
    }

    function get(name, key) {
        if (!((name, key) in figure)) {
            print "performance: there is no " key " of " name > "/dev/stderr"
            failed = 1
        }
        return figure[name, key] + 0
    }
    # Three figures.
    function short(value,   digits) {
        digits = value >= 100 ? 0 : value >= 10 ? 1 : 2
        return sprintf("%." digits "f", value)
    }
    function time(us) {
        return us >= 1e6 ? short(us / 1e6) " s" : us >= 1e3 ? short(us / 1e3) " ms" : \
            us >= 1 ? short(us) " µs" : short(us * 1e3) " ns"
    }
    function thousands(value,   text) {
        text = sprintf("%.0f", value)
        while (match(text, /[0-9][0-9][0-9][0-9]($|,)/))
            text = substr(text, 1, RSTART) "," substr(text, RSTART + 1)
        return text
    }
    function rate(name) { return 1 / get(name, "ratio_run") }
    function line(table, text) { print table "\t" text }
    function heading(table, text,   rule) {
        line(table, "| " text " |")
        rule = text
        gsub(/[^|]+/, "---", rule)
        line(table, "|" rule "|")
    }
    function sides(name) {
        return time(get(name, "library_median_us")) " | " time(get(name, "library_p99_us")) " | " \
            time(get(name, "bare_median_us")) " | " time(get(name, "bare_p99_us"))
    }
    function ratios(name) {
        return short(get(name, "ratio_median")) " | " short(get(name, "ratio_p99")) " | " \
            short(get(name, "ratio_cpu"))
    }
    function read_row(text, name) {
        line("reads", "| " text " | " sides(name) " | " ratios(name) " |")
    }
    function other_row(text, key,   i, row) {
        row = "| " text " |"
        for (i = 1; i <= 3; i++) {
            name = "ReadParBesideBare/" places[i]
            if (!((name, key "_median_us") in figure))
                return
            row = row " " time(get(name, key "_median_us")) " | " time(get(name, key "_p99_us")) \
                " | " time(get(name, key "_cpu_us")) " |"
        }
        line("others", row)
    }
    function request_row(threads, connections,   name) {
        name = "RequestsBesideBare/threads:" threads "/connections:" connections
        line("requests", "| " threads " | " connections " | " \
            thousands(get(name, "library_per_s")) " | " thousands(get(name, "bare_per_s")) " | " \
            short(rate(name)) " | " sides(name) " | " ratios(name) " |")
    }
    function stream_row(text, name) {
        line("streams", "| " text " | " thousands(get(name, "library_MB/s")) " | " \
            thousands(get(name, "bare_MB/s")) " | " short(rate(name)) " | " sides(name) " | " \
            ratios(name) " |")
    }
    function convert_row(type, text,   i, row, name) {
        row = "| " text " |"
        for (i = 1; i <= 3; i++) {
            name = "GetDaqDataBesideMemcpy/type:" type "/KiB:" sizes[i]
            row = row " " short(get(name, "library_MB/s") / 1e3) " | " \
                short(get(name, "bare_MB/s") / 1e3) " | " short(rate(name)) " |"
            if (i == 3 && rate(name) < slowest)
                slowest = rate(name)
        }
        line("conversion", row)
    }
    function target(what, wanted, reached, is_met) {
        line("targets", "| " what " | " wanted " | " reached " | " (is_met ? "yes" : "**no**") " |")
    }
    function at_most(what, limit, value) {
        target(what, "at most " limit, short(value), value <= limit + 0)
    }
    function at_least(what, limit, value) {
        target(what, "at least " limit, short(value), value >= limit)
    }

    function stream_targets(what, name) {
        at_least(what ": MB/s", 0.9, rate(name))
        at_most(what ": processor time", 1.2, get(name, "ratio_cpu"))
    }

    END {
        split("unpinned apart together", places)
        place["unpinned"] = "unpinned"
        place["apart"] = "a processor each"
        place["together"] = "one processor"
        split("16 1024 65536", sizes)
        modules = "ThousandModules"

        line("machine", "| processor | " machine ", " processors " of them |")
        line("machine", "|---|---|")
        line("machine", "| kernel | " kernel " |")
        line("machine", "| compiler | " compiler ", the preset `linux` |")
        line("machine", "| date | " today " |")
        line("machine", "| ran besides | " beside " |")
        line("machine", "| command | `scripts/performance.sh`, " seconds " s for each comparison, " \
            module_seconds " s for a thousand modules |")

        compared = "library median | p99 | bare median | p99 | median | p99 | processor"
        heading("reads", "read of one value | " compared)
        for (i = 1; i <= 3; i++)
            read_row(place[places[i]], "ReadParBesideBare/" places[i])
        read_row("no read pending", "ReadParBesidePending/pending:0")
        read_row("20,000 reads pending", "ReadParBesidePending/pending:20000")
        read_row("60,000 reads pending", "ReadParBesidePending/pending:60000")
        read_row("flooded with datagrams", "ReadParDuringAFlood")

        heading("others", "round trip | unpinned: median | p99 | processor | a processor each: " \
            "median | p99 | processor | one processor: median | p99 | processor")
        other_row("`ZEL_XPAR_ReadPar`", "library")
        other_row("bare socket", "bare")
        other_row("libmodbus, 5 registers", "libmodbus")
        other_row("ZeroMQ, REQ and REP", "ZeroMQ")

        heading("requests", "threads | connections | library, 1/s | bare, 1/s | requests | " compared)
        split("1 4 16 64", threads)
        for (i = 1; i <= 4; i++)
            request_row(threads[i], 1)
        request_row(200, 200)

        heading("streams", "data | library, MB/s | bare, MB/s | MB/s | " compared)
        split("59 256 1024 4096", blocks)
        for (p = 1; p <= 2; p++) {
            for (i = 1; i <= 4; i++)
                stream_row("blocks of " blocks[i] " KiB, " place[places[p]], \
                    "StreamingBesideBare/" places[p] "/KiB:" blocks[i])
            stream_row("answer of 64 MiB, " place[places[p]], "LongAnswerBesideBare/" places[p])
        }
        stream_row("file of 64 MiB to the module, " place["apart"], "FileBesideBare")

        slowest = 1e9
        heading("conversion", "elements | 16 KiB: library, GB/s | memcpy | ratio | " \
            "1 MiB: library | memcpy | ratio | 64 MiB: library | memcpy | ratio")
        convert_row(20, "`INT32`")
        convert_row(24, "`INT64`")
        convert_row(36, "`REAL32`")
        convert_row(40, "`REAL64`")
        convert_row(80, "`TIMED_INT64`")
        convert_row(96, "`TIMED_REAL64`")
        convert_row(224, "`TIMED_UINT64`")
        convert_row(92, "`TIMED_INT32`")
        convert_row(108, "`TIMED_REAL32`")
        convert_row(236, "`TIMED_UINT32`")

        heading("modules", "1000 modules | measured")
        line("modules", "| connected from 16 threads | " time(1e6 * get(modules, "connect_s")) " |")
        line("modules", "| measured, each without a break | " \
            short(get(modules, "shortest_s")) " s |")
        line("modules", "| samples | " thousands(get(modules, "samples")) " |")
        line("modules", "| gaps | " thousands(get(modules, "gaps")) " |")
        line("modules", "| processor time for a sample | " \
            time(get(modules, "cpu_ns_sample") / 1e3) " |")
        line("modules", "| the same with 10 modules | " \
            time(get(modules, "ten_cpu_ns_sample") / 1e3) " |")
        line("modules", "| memory for each connection | " short(get(modules, "KiB_each")) " KiB |")
        line("modules", "| processor time of an idle second | " \
            time(get(modules, "idle_cpu_us")) " |")

        heading("targets", "what | wanted | reached | met")
        for (i = 1; i <= 3; i++) {
            name = "ReadParBesideBare/" places[i]
            what = "read of one value, " place[places[i]] ": "
            at_most(what "median", "1.0", get(name, "ratio_median"))
            at_most(what "p99", 1.2, get(name, "ratio_p99"))
            at_most(what "processor time", 1.5, get(name, "ratio_cpu"))
        }
        name = "ReadParBesidePending/pending:"
        at_most("read beside 20,000 pending ones, to one beside none: median", 1.2, \
            get(name "20000", "library_median_us") / get(name "0", "library_median_us"))
        reached = ""
        isMore = 1
        last = 0
        for (i = 1; i <= 4; i++) {
            name = "RequestsBesideBare/threads:" threads[i] "/connections:1"
            now = get(name, "library_per_s")
            reached = reached (i > 1 ? ", " : "") thousands(now)
            # What differs by less than the measurement does is not fewer.
            isMore = isMore && now >= 0.97 * last
            last = now
        }
        target("requests a second from 1, 4, 16 and 64 threads", "never fewer with more", reached, \
            isMore)
        for (i = 2; i <= 4; i++)
            at_least("requests a second from " threads[i] " threads over one connection", 0.8, \
                rate("RequestsBesideBare/threads:" threads[i] "/connections:1"))
        at_least("requests a second over 200 connections", 0.8, \
            rate("RequestsBesideBare/threads:200/connections:200"))
        for (p = 1; p <= 2; p++) {
            for (i = 1; i <= 4; i++) {
                name = "StreamingBesideBare/" places[p] "/KiB:" blocks[i]
                stream_targets("blocks of " blocks[i] " KiB, " place[places[p]], name)
            }
            stream_targets("answer of 64 MiB, " place[places[p]], "LongAnswerBesideBare/" places[p])
        }
        at_least("conversion of 64 MiB, the slowest type", 0.9, slowest)
        target("1000 modules: connected from 16 threads", "within 2 s", \
            time(1e6 * get(modules, "connect_s")), get(modules, "connect_s") <= 2)
        target("1000 modules: gaps", "0", thousands(get(modules, "gaps")), get(modules, "gaps") == 0)
        at_most("1000 modules: processor time for a sample, to that of 10 modules", 1.2, \
            get(modules, "ratio_cpu"))
        target("1000 modules: memory each", "at most 64 KiB", \
            short(get(modules, "KiB_each")) " KiB", get(modules, "KiB_each") <= 64)
        # Whoever measures it is awake for a moment as well.
        target("1000 modules: processor time of an idle second", "none", \
            time(get(modules, "idle_cpu_us")), get(modules, "idle_cpu_us") < 1000)
        exit failed
    }' "$figures" >"$tables"

# The page keeps its text; between "<!-- begin NAME -->" and "<!-- end NAME -->" comes the table.
written=$(awk -F '\t' '
    NR == FNR { table[$1] = table[$1] $2 "\n"; next }
    /^<!-- end / { inside = 0 }
    !inside { print }
    /^<!-- begin / { inside = 1; printf "%s", table[$3] }' "$tables" FS=' ' "$page")
printf '%s\n' "$written" >"$result"
echo "The figures are in $result"
