#!/usr/bin/env bash
# start_page.sh BUILD SOURCE CXX: who follows docs/start.md word for word, from the installation on, has an answer in C++,
# in C and in Python.
set -euo pipefail
build=$1 page=$2/docs/start.md examples=$2/examples
export CXX=$3 HOME
HOME=$(mktemp -d)
standin=
trap '[ -z "$standin" ] || kill "$standin" || true; rm -rf "$HOME"' EXIT
cmake --install "$build" --prefix "$HOME/zea" > "$HOME/install.log"
exec {url_of}< <(exec "$HOME/zea/bin/zea-standin" --record /dev/null)
standin=$!
read -r url <&"$url_of"
eval "$(sed -n 's/^    \(export OPENAI_API_KEY=.*\)/\1/p' "$page")"

# follow NUMBER FILE: the section's commands, in a folder with the file that it includes under the name that it says.
follow() {
  local section
  section=$(sed -n "/^## $1\./,/^## $(($1 + 1))\./p" "$page")
  mkdir "$HOME/$1"
  cd "$HOME/$1"
  cp "$examples/$(sed -n 's/^\\include //p' <<< "$section")" "$2"
  grep -q "^\`$2\`, which is" <<< "$section"
  sed -n '/^```cmake$/,/^```$/{/^```/d;p}' <<< "$section" > CMakeLists.txt
  sed -n 's/^    //p' <<< "$section" | sed "s|http://127.0.0.1:40123|$url|" > commands
  sh -eu commands > said || { cat said; exit 1; }
  grep -q 'I am a stand-in' said || { cat said; exit 1; }
}
follow 2 main.cpp
follow 3 main.c
follow 4 ask.py
grep -q '^1 | ' said
