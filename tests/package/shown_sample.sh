#!/usr/bin/env bash
# shown_sample.sh PAGE SAMPLE: the page's one C++ block is the sample.
set -euo pipefail
sed -n '/^```cpp$/,/^```$/{/^```/d;p}' "$1" | diff - "$2"
