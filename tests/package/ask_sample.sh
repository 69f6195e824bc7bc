#!/usr/bin/env bash
# ask_sample.sh STANDIN ZEA PROGRAM...: runs a program with the sample database, a question and the URL of a stand-in
# behind its arguments, and looks for the rows of the statement in what it prints.
set -euo pipefail
standin=$1 zea=$2
shift 2
work=$(mktemp -d)
"$zea" sample "$work/shop.db"
exec {url_of}< <(exec "$standin" --record "$work/record")
server=$!
trap 'kill "$server"; rm -rf "$work"' EXIT
read -r url <&"$url_of"
"$@" "$work/shop.db" "Which customers are there?" "$url" | tee "$work/output"
grep -q '^1 | ' "$work/output"
