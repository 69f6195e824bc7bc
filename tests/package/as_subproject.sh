#!/usr/bin/env bash
# as_subproject.sh SOURCE CXX: a project that takes this one in by add_subdirectory keeps its own ways: its
# libraries stay static, it gets no tests, no compiler cache and no files to install, and its program links and runs.
# HOME may be missing.
set -euo pipefail
source=$1 compiler=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/parent"
cat > "$work/parent/CMakeLists.txt" <<EOF
cmake_minimum_required(VERSION 3.25)
project(parent LANGUAGES CXX)
set(CMAKE_CXX_STANDARD 17)
add_subdirectory("$source" zea)
add_library(own own.cpp)
add_executable(host host.cpp)
target_link_libraries(host PRIVATE own zea::zea)
install(TARGETS host)
EOF
echo 'int own() { return 0; }' > "$work/parent/own.cpp"
cat > "$work/parent/host.cpp" <<'EOF'
#include <zea/zea_owned.h>
int own();
int main() { return zea::createAssistant(ZEAAssistantType::X, "k") ? own() : 1; }
EOF
env -u HOME cmake -S "$work/parent" -B "$work/build" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" \
  -DCMAKE_CXX_FLAGS="${HOST_CXX_FLAGS:-}" > "$work/configure.log"
ninja -C "$work/build" -t targets all > "$work/targets"
grep -q '^libown.a:' "$work/targets" || { echo "the parent's library has become another kind"; exit 1; }
! grep -E '^(Nightly|Experimental|zea/(tools|tests|drivers|capi)/.*\.(o|a|so)):' "$work/targets" || exit 1
! grep -q 'CMAKE_CXX_COMPILER_LAUNCHER' "$work/build/CMakeCache.txt" || exit 1
! grep -q 'ccache' "$work/build/build.ninja" || { echo "a compiler cache came along"; exit 1; }
env -u HOME cmake --build "$work/build" --target host > "$work/build.log" || { cat "$work/build.log"; exit 1; }
"$work/build/host"
cmake --install "$work/build" --prefix "$work/prefix" > "$work/install.log"
test "$(cd "$work/prefix" && find . -type f)" = ./bin/host
