#!/usr/bin/env bash
# Formats every C and C++ source of the project; with --check it only tells which ones differ.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

formatter=$(command -v clang-format-14 || command -v clang-format)
how=(-i)
if [ "${1:-}" = --check ]; then
    how=(--dry-run --Werror)
fi
find include src simulator cli bench examples tests -type f \
    \( -name '*.c' -o -name '*.cpp' -o -name '*.h' -o -name '*.hpp' \) -print0 |
    xargs -0 -r "$formatter" --style=file "${how[@]}"
