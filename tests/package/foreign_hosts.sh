#!/usr/bin/env bash
# foreign_hosts.sh SOURCE LIBZEAC STANDIN: hosts of another language and of another C++ library ask through libzeac.
set -euo pipefail
source=$1 library=$2 standin=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
folder=$(dirname "$library")

clang++ -std=c++17 -stdlib=libc++ -Wall -Werror -I"$source/capi/include" "$source/tests/package/other_library_host.cpp" \
  "$library" -Wl,-rpath,"$folder" -o "$work/host"
"$source/tests/package/ask_standin.sh" "$standin" "$work/host" 'How many orders are open?' >/dev/null

mcs -warnaserror -out:"$work/Host.exe" "$source/examples/csharp/Host.cs"
printf '#!/bin/sh\nexec mono "%s" "$@"\n' "$work/Host.exe" > "$work/run"
chmod +x "$work/run"
LD_LIBRARY_PATH=$folder "$source/tests/package/ask_standin.sh" "$standin" "$work/run" 'How many orders are open?' > "$work/said"
grep -qx 'The request was cancelled. 0' "$work/said" || { cat "$work/said"; exit 1; }
