#!/usr/bin/env bash
# ask_standin.sh STANDIN PROGRAM [ARGUMENT]...: the program, with a stand-in's URL as its first argument, ends well and
# prints an answer about the table "orders".
set -euo pipefail
work=$(mktemp -d)
standin=
trap '[ -z "$standin" ] || kill "$standin" || true; rm -rf "$work"' EXIT

mkfifo "$work/url"
"$1" > "$work/url" &
standin=$!
read -r url < "$work/url"
answer=$("$2" "$url" "${@:3}")
printf '%s\n' "$answer"
grep -q 'orders' <<< "$answer"
