#!/usr/bin/env bash
# Cuts the C and C++ snippets out of the pages for host applications, builds each as a reader would,
# with all warnings, and runs it against zel-sim under the address that the pages name.
#
#   snippets_test.sh ZEL ZEL-SIM ...
#
# In the environment: ZEL_COMPILER, ZEL_CXX_COMPILER and ZEL_COMPILE_OPTIONS, ZEL_LIBRARY (what is linked) and
# ZEL_LIBRARY_FILE (what is loaded), ZEL_EMULATOR (runs the programs, where something must).
set -uo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
. "$root/tests/support/module_network.sh"
simulator=$(real_simulator "$2") || exit 1
work=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null; wait; rm -rf "$work"' EXIT

nsenter --net="$ZEL_MODULE_NETWORK" "$simulator" --answer-scans --address 192.168.169.20 \
    >"$work/log" 2>&1 &
for _ in $(seq 200); do
    [ -s "$work/log" ] && break
    sleep 0.05
done

# cut PAGE: each snippet becomes a file named after its page and line, or as its first line says
# ("/* host.h */", "// frame.cpp"). What has no main is put into the frame of its language; the
# compiler names the page's lines.
cut() {
    awk -v page="$(basename "$1" .md)" -v folder="$work" '
        function finish(   name, program, piece, i) {
            program = text ~ /int main\(/
            if (match(first, /^\/\* [a-z]+\.[ch] \*\/$/))
                name = substr(first, 4, RLENGTH - 6)
            else if (first == "// frame.cpp")
                name = "frame.cpp"
            else
                name = page "-" begin "." language
            if (name ~ /^frame\./)
                frame = text
            if (!program && name !~ /\.h$/) {
                piece = language == "c" ? "    /* the piece */\n" : "    // the piece\n"
                i = index(frame, piece)
                if (i == 0) { print "FAILED: no frame before line " begin " of " page ".md"; exit 1 }
                text = substr(frame, 1, i - 1) "{\n#line " begin + 1 " \"" page ".md\"\n" text "}\n" \
                    substr(frame, i + length(piece))
            } else {
                text = "#line " begin + 1 " \"" page ".md\"\n" text
            }
            printf "%s", text >(folder "/" name)
            close(folder "/" name)
        }
        /^```c(pp)?$/ { inside = 1; language = substr($0, 4); begin = NR; text = ""; first = ""; next }
        /^```$/ && inside { inside = 0; finish(); next }
        inside { if (first == "") first = $0; text = text $0 "\n" }' "$1"
}

cd "$work" || exit 1
pages=("$root/README.md" "$root/docs/host-guide.md" "$root/docs/cpp.md")
for page in "${pages[@]}"; do
    cut "$page" || exit 1
done
wanted=$(cat "${pages[@]}" | grep -cxE '```c(pp)?')
found=$(find . -name '*.[ch]' -o -name '*.cpp' | wc -l)
[ "$found" -eq "$wanted" ] || { echo "FAILED: $found of $wanted snippets were cut out"; exit 1; }
cp "$ZEL_LIBRARY_FILE" "$work"

warnings='-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror'
read -ra c_compiler <<<"$ZEL_COMPILER -std=c11 $warnings"
read -ra cpp_compiler <<<"$ZEL_CXX_COMPILER -std=c++20 $warnings"
read -ra options <<<"$ZEL_COMPILE_OPTIONS"
read -ra emulator <<<"${ZEL_EMULATOR:-}"
# Read once for all of them.
"${cpp_compiler[@]}" "${options[@]/#-Wl*/-pthread}" -x c++-header "$root/include/ZEL_VR_Framework.hpp" \
    -o ZEL_VR_Framework.hpp.gch || exit 1
failed=0 count=0
for source in *.c *.cpp; do
    program=$work/${source%.c*}.exe
    compiler=("${c_compiler[@]}")
    [[ $source == *.c ]] || compiler=("${cpp_compiler[@]}")
    count=$((count + 1))
    if ! "${compiler[@]}" -I. -I"$root/include" "$source" "$ZEL_LIBRARY" "${options[@]}" -o "$program"; then
        failed=1
        echo "FAILED: $source does not build"
        continue
    fi
    result=0
    timeout 60 "${emulator[@]}" "$program" >"$work/output" 2>&1 || result=$?
    if [ "$result" -ne 0 ] || [ -n "${ZEL_VERBOSE:-}" ]; then
        echo "--- $source ended with $result and said:"
        head -40 "$work/output"
    fi
    [ "$result" -eq 0 ] || failed=1
done
[ "$failed" -eq 0 ] && echo "$count snippets build and run"
exit "$failed"
