#!/usr/bin/env bash
# Tells each include of the library that points upward, or out of the library, as FILE:LINE, and
# fails when there is one.
set -euo pipefail
cd "$(dirname "$0")/.."

# From bottom to top.
folders="base serialization descriptors support values access manager network mapping legacy"

git grep --untracked -nE '^#include "' -- 'libconfig/*.h' 'libconfig/*.cpp' |
  awk -F'[:"]' -v folders="$folders" '
    BEGIN { n = split(folders, names, " "); for (i = 1; i <= n; ++i) height[names[i]] = i }
    # libconfig.h stands above all folders.
    $1 == "libconfig/libconfig.h" || $4 ~ /^product\// { next }
    { split($1, from, "/"); split($4, to, "/") }
    to[1] != "libconfig" { fail($4 " is outside the library"); next }
    !(from[2] in height) || !(to[2] in height) { fail("is not in the list of folders"); next }
    height[to[2]] > height[from[2]] { fail(from[2] " stands below " to[2]) }
    function fail(why) { print $1 ":" $2 ": " why; failed = 1 }
    END { exit failed }'
