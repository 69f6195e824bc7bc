#!/usr/bin/env bash
# install_and_use.sh BUILD HOST CXX [STANDIN]: installs a built project into an empty prefix, builds a host, a folder
# whose program has its name, against it from outside the tree, and lets it ask the stand-in, the installed one unless
# told otherwise.
set -euo pipefail
build=$1 host=$2 compiler=$3

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/prefix" > "$work/install.log"
cp -r "$host" "$work/host"
cmake -S "$work/host" -B "$work/host/build" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" \
  -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_CXX_FLAGS="${HOST_CXX_FLAGS:-}" \
  -DBOOST_INCLUDE_DIR="${HOST_BOOST_INCLUDE_DIR:-}" > "$work/configure.log"
cmake --build "$work/host/build" > "$work/build.log" || { cat "$work/build.log"; exit 1; }

"$(dirname "$0")/ask_standin.sh" "${4:-$work/prefix/bin/zea-standin}" \
  "$work/host/build/$(basename "$host")" "How many orders are open?"
