# Prints the lines of ratios.awk as tables for people, one for each section: aligned columns, or Markdown with
# -v markdown=1.

function scaled(value, names, step,    name, count, i) {
  count = split(names, name, "|")
  for (i = 1; i < count && value >= step; ++i) value /= step
  return sprintf(value < 10 ? "%.2f %s" : value < 100 ? "%.1f %s" : "%.0f %s", value, name[i])
}

function readable(value, unit) {
  if (value + 0 == 0) return ""
  if (unit == "us") return scaled(value, "us|ms|s", 1000)
  if (unit == "bytes") return scaled(value, "B|kB|MB", 1000)
  if (unit == "instructions") return scaled(value, "|k|M", 1000)
  return scaled(value, unit "|k" unit "|M" unit, 1000)
}

function print_row(what, size, median, against, its_median, ratio, aim, met) {
  printf markdown ? "| %s | %s | %s | %s | %s | %s | %s | %s |\n" : "%-26s %-16s %10s  %-26s %10s %7s %9s  %s\n",
    what, size, median, against, its_median, ratio, aim, met
}

function begin_section(title) {
  section = title
  print (NR > 1 ? "\n" : "") (markdown ? "### " : "") title (markdown ? "\n" : "")
  print_row("what", "size", "median", "against", "its median", "ratio", "aim", "met")
  if (markdown) print "|---|---|--:|---|--:|--:|--:|---|"
}

BEGIN { FS = "," }

$1 != section { begin_section($1) }
{
  aim = $9
  sub(/^>=/, "at least ", aim)
  print_row($2, $3, readable($4, $5), $6, readable($7, $5), $8 == "" ? "" : sprintf("%.2f", $8), aim == "-" ? "" : aim,
    $10 == "-" ? "" : $10)
}
