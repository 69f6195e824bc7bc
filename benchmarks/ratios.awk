# Joins aims.txt with measures, lines of "name,value,unit", into lines of
# "section,what,size,value,unit,baseline,value of the baseline,ratio,aim,met". What was not measured is left out.
# -v kernel=NAME: the kernel that simdjson ran in.

function trim(text) {
  gsub(/^ +| +$/, "", text)
  return text
}

function met(ratio, aim) {
  if (ratio == "" || aim == "-") return "-"
  if (sub(/^>=/, "", aim)) return ratio + 0 >= aim + 0 ? "yes" : "no"
  return ratio + 0 <= aim + 0 ? "yes" : "no"
}

FNR == 1 { FS = "," }
FILENAME ~ /aims\.txt$/ {
  if (split($0, field, "|") != 7 || /^#/) next
  for (i = 1; i <= 7; ++i) row[rows + 1, i] = trim(field[i])
  sub(/@kernel@/, kernel, row[rows + 1, 7])
  ++rows
  next
}
{
  value[$1] = $2
  unit[$1] = $3
}

END {
  for (i = 1; i <= rows; ++i) {
    measure = row[i, 2]
    baseline = row[i, 3]
    if (!(measure in value)) continue
    if (measure != baseline && !(baseline in value)) continue
    ratio = value[baseline] > 0 ? sprintf("%.3f", value[measure] / value[baseline]) : ""
    printf "%s,%s,%s,%s,%s,%s,%s,%s,%s,%s\n", row[i, 1], row[i, 5], row[i, 6], value[measure], unit[measure],
      row[i, 7], value[baseline], ratio, row[i, 4], met(ratio, row[i, 4])
  }
}
