#!/usr/bin/env bash
# install_and_use.sh SOURCE BUILD CXX: installs the built project into an empty prefix, builds the smallest host
# against it from outside the tree, and lets it ask the installed stand-in.
set -euo pipefail
source=$1 build=$2 compiler=$3

work=$(mktemp -d)
standin=
trap '[ -z "$standin" ] || kill "$standin" || true; rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/prefix" > "$work/install.log"
cp -r "$source/examples/smallest_host" "$work/host"
cmake -S "$work/host" -B "$work/host/build" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" \
  -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_CXX_FLAGS="${HOST_CXX_FLAGS:-}" > "$work/configure.log"
cmake --build "$work/host/build" > "$work/build.log" || { cat "$work/build.log"; exit 1; }

mkfifo "$work/url"
"$work/prefix/bin/zea-standin" > "$work/url" &
standin=$!
read -r url < "$work/url"
answer=$("$work/host/build/smallest_host" "$url" "How many orders are open?")
printf '%s\n' "$answer"
grep -q 'orders' <<< "$answer"
