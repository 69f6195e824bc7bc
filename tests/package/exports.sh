#!/usr/bin/env bash
# exports.sh NM LIBRARY: the library defines exactly its six symbols for others.
set -euo pipefail
"$1" -D --defined-only -C "$2" | awk '{ $1 = $2 = ""; print substr($0, 3) }' | sort > exported.txt
sort > expected.txt <<'SYMBOLS'
ZEACallbackLocalizationInfo::operator=(ZEACallbackLocalizationInfo const&)
ZEACallbackLocalizationInfo::operator=(ZEACallbackLocalizationInfo&&)
ZEACreateAssistant
ZEAFreeObject
ZEARegisterCallback
ZEASetHTTPSettings
SYMBOLS
diff expected.txt exported.txt
