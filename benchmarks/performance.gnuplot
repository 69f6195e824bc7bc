# Draws docs/performance.svg. scripts/bench calls it with the variables
#   bars      a file with lines of "label;ratio;aim;met", from the lowest bar to the highest
#   measures  a file with lines of "name/N,microseconds,unit"
#   chart     the file to write

set encoding utf8
set terminal svg size 1000,660 font "DejaVu Sans,Helvetica,Arial,sans-serif,13" background "#ffffff" enhanced
set output chart
set multiplot

ink = "#2f3b45"
faint = "#c9d1d8"
set border 3 lc rgb faint
set tics nomirror scale 0 textcolor rgb ink
set title textcolor rgb ink
set key off

# The ratios. A bar that is longer than the scale ends there and tells its length; no length is told on an aim's mark.
longest = 5.0
end(ratio) = ratio < longest ? ratio : longest
told(ratio) = ratio < longest ? sprintf("%.2f", ratio) : sprintf("%.1f →", ratio)
beside(ratio, aim) = aim > ratio && aim < ratio + 0.75 ? aim : end(ratio)

set datafile separator ";"
stats bars using 2 nooutput
rows = STATS_records
set lmargin at screen 0.285
set rmargin at screen 0.60
set tmargin at screen 0.88
set bmargin at screen 0.08
set title "{/:Bold Cost in times of the baseline}\n{/*0.85 shorter is better; dotted: the baseline; mark: the aim}"
set border 1
set xrange [0:longest + 0.6]
set yrange [-0.6:rows - 0.4]
set xtics 1
set arrow 1 from 1,-0.6 to 1,rows - 0.4 nohead dashtype 3 lc rgb ink back
plot bars using (0):0:(0):(end($2)):($0 - 0.3):($0 + 0.3):(strcol(4) eq "yes" ? 0x3f8f6b : 0xd0782a):ytic(1) \
       with boxxyerror fillstyle solid 0.85 noborder lc rgb variable, \
     bars using 3:($0 - 0.42):(0):(0.84) with vectors nohead lw 3 lc rgb ink, \
     bars using (beside($2, $3)):0:(told($2)) with labels left offset 0.5,0 textcolor rgb ink
unset arrow 1

# The growth. On the dotted lines ten times as many take ten times as long.
set datafile separator ","
points(name) = sprintf("<sort -t/ -k2n %s | awk -F '[/,]' '$1 == \"%s\" { print $2 \",\" $3 }'", measures, name)
set autoscale
stats points("conversation") using 1:2 name "TURNS" nooutput
stats points("listing") using 1:2 name "MODELS" nooutput
set lmargin at screen 0.70
set rmargin at screen 0.955
set border 3
set logscale xy
set samples 2
set yrange [8:200000]
set ytics ("10 us" 10, "100 us" 100, "1 ms" 1000, "10 ms" 10000, "100 ms" 100000)
set xtics ("10" 10, "100" 100, "1000" 1000, "10000" 10000, "100000" 100000)
set grid xtics ytics lc rgb faint lw 0.5
set style line 1 lc rgb "#2f6fae" lw 2.5 pt 7 ps 0.6
set style line 2 lc rgb "#98a2ab" lw 2 pt 7 ps 0.5
set style line 3 lc rgb ink lw 1 dashtype 3
set key top left Left reverse textcolor rgb ink samplen 2

set tmargin at screen 0.88
set bmargin at screen 0.55
set xrange [7:15000]
set title "{/:Bold A question behind many turns}\n{/*0.85 time by remembered turns}"
plot TURNS_max_y * x / TURNS_max_x with lines ls 3 notitle, \
     points("conversation") with linespoints ls 1 title "libzea", \
     points("conversationByLibcurl") with linespoints ls 2 title "libcurl, the same bytes"

set tmargin at screen 0.41
set bmargin at screen 0.08
set xrange [7:150000]
set title "{/:Bold A listing of many models}\n{/*0.85 time by models}"
plot MODELS_max_y * x / MODELS_max_x with lines ls 3 notitle, \
     points("listing") with linespoints ls 1 title "libzea", \
     points("listingByLibcurl") with linespoints ls 2 title "libcurl, the same bytes"
