#!/usr/bin/env bash
# told_everywhere.sh TREE ZEA STANDIN: the README, the stand-in's help, the manual, the completions, the C and Python
# interfaces and the page of providers name each provider that the console knows, the README with its variable, and the
# host's header tells of each property key.
set -euo pipefail
tree=$1 zea=$2 standin=$3
missing=0
miss() { echo "$*"; missing=1; }

# It ends with an error, and with the sentence "... Known are openai, google, ...".
known=$("$zea" models --provider none 2>&1 || true)
known=${known##*Known are }
help=$("$zea" --help)
paths=$("$standin" --help)
for provider in $(tr -d ',.' <<<"$known"); do
  variable=$(sed -nE "s/^ *$provider: ([A-Z_]+).*/\1/p" <<<"$help")
  grep -q "^| \`$provider\` | \`\?${variable:-none}" "$tree/README.md" || miss "README.md has no row for $provider"
  for file in tools/console/share/zea.{1,bash,zsh}; do
    grep -qw "$provider" "$tree/$file" || miss "$file does not name $provider"
  done
  grep -q "ZEAC_${provider^^} = " "$tree/capi/include/zeac/zea_c.h" || miss "zea_c.h has no number for $provider"
  grep -q "^    ${provider^^} = " "$tree/bindings/python/zea/__init__.py" || miss "zea.Provider lacks $provider"
  grep -qx "# ${provider^^}" "$tree/docs/providers/$provider.md" || miss "docs/providers/ has no page for $provider"
  grep -q "(providers/$provider.md)" "$tree/docs/providers.md" || miss "docs/providers.md does not lead to $provider"
  grep -qw "${provider^^}" <<<"$paths" || miss "zea-standin --help does not name $provider"
done

version=$("$zea" --version)
version=${version#zea }
grep -q "^version = \"$version\"$" "$tree/bindings/python/pyproject.toml" || miss "pyproject.toml is not of $version"
grep -q "^NAME = \"libzeac.so.${version%.*}\"$" "$tree/bindings/python/zea/_library.py" ||
  miss "the Python package looks for another library than that of $version"
grep -q "^## $version" "$tree/CHANGELOG.md" || miss "CHANGELOG.md does not tell of $version"

for key in $(sed -nE 's/^inline constexpr char k[A-Za-z]+\[\] = "(.*)";/\1/p' "$tree/include/zea/zea_property_names.h"); do
  grep -q "\"$key\"" "$tree/include/zea/izea_properties.h" || miss "izea_properties.h does not tell of $key"
done
exit $missing
