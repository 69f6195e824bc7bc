# docs/focus.svg, from what scripts/bench-focus has measured: budget and share of complete questions.
set terminal svg size 720,360 font "sans-serif,13" background "#ffffff"
set logscale x 2
set xtics (1000, 2000, 4000, 8000, 16000, 32000)
set format x "%.0f"
set xlabel "budget in tokens"
set ylabel "complete questions"
set yrange [0:1.02]
set format y "%.1f"
set grid ytics lc rgb "#dddddd"
set key outside right
plot for [name in sets] points."/".name.".fit" using 1:2 with linespoints lw 2 pt 7 title name.", fit", \
  for [name in sets] points."/".name.".own" using 1:2 with linespoints lw 1 dt 2 pt 6 title name.", own database", \
  for [name in sets] points."/".name.".cut" using 1:2 with linespoints lw 1 dt 3 pt 4 title name.", cut off"
