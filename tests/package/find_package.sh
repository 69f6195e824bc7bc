#!/usr/bin/env bash
# find_package.sh BUILD CXX SOURCE: an installed package is found in its version and components and in no others, wherever its
# folder has been moved to.
set -euo pipefail
build=$1 compiler=$2 source=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$build" --prefix "$work/first" > "$work/install.log"
mv "$work/first" "$work/moved"

# finds ARGUMENTS: whether find_package(zea ARGUMENTS) and linking all of its targets succeed.
finds() {
  mkdir -p "$work/host"
  printf 'cmake_minimum_required(VERSION 3.16)\nproject(host LANGUAGES CXX)\nfind_package(zea %s REQUIRED)\n' "$1" > "$work/host/CMakeLists.txt"
  printf 'add_library(host host.cpp)\ntarget_link_libraries(host PRIVATE %s)\n' "$2" >> "$work/host/CMakeLists.txt"
  printf '#include <%s>\n' "$3" > "$work/host/host.cpp"
  rm -rf "$work/host/build"
  cmake -S "$work/host" -B "$work/host/build" -G Ninja -DCMAKE_PREFIX_PATH="$work/moved" \
    -DCMAKE_CXX_COMPILER="$compiler" > "$work/log" 2>&1 && cmake --build "$work/host/build" > "$work/log" 2>&1
}

for row in '|zea::zea|zea/zea_owned.h' '0.1|zea::zea|zea/zea.h' 'COMPONENTS kit|zea::kit|zeakit/worker.h' \
  '0.1 COMPONENTS kit sqlite|zea::sqlite|zeasqlite/conversation_store.h' 'COMPONENTS c|zea::c|zeac/zea_c_kit.h'; do
  IFS='|' read -r arguments targets header <<< "$row"
  finds "$arguments" "$targets" "$header" || { echo "find_package(zea $arguments) fails:"; cat "$work/log"; exit 1; }
done
for arguments in 99 0.2 'COMPONENTS nothing'; do
  ! finds "$arguments" zea::zea zea/zea.h || { echo "find_package(zea $arguments) succeeds"; exit 1; }
done
# A host in C needs no compiler for C++.
cmake -S "$source/examples/c_host" -B "$work/c" -G Ninja -DCMAKE_PREFIX_PATH="$work/moved" > "$work/log" 2>&1 &&
  cmake --build "$work/c" >> "$work/log" 2>&1 || { cat "$work/log"; exit 1; }
for module in zea zeac; do
  flags=$(PKG_CONFIG_PATH=$(dirname "$(find "$work/moved" -name $module.pc)") pkg-config --cflags --libs $module)
  [[ $flags == *"$work/moved/"*include*"-l$module"* ]] || { echo "pkg-config $module: $flags"; exit 1; }
done
