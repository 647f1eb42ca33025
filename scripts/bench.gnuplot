# Draws the chart of scripts/bench: DATA is what scripts/bench.awk wrote, a ratio on each line, and CHART the SVG.
stats DATA using 2 name "ratio" nooutput
rows = ratio_records
left = 1.0 / 64
right = 4.0
height = 100 + 16 * rows
set terminal svg size 900, height font "sans-serif,11" background "white"
set output CHART
set datafile separator "\t"
set label "Processor time as a ratio to that of the floor or the peer: shorter is faster" \
  at screen 0.5, screen 1 - 18.0 / height center font "sans-serif,14"
set lmargin at screen 0.48
set rmargin at screen 0.97
set tmargin at screen 1 - 36.0 / height
set bmargin at screen 56.0 / height
set logscale x 2
set xrange [left : right]
set yrange [rows + 0.7 : 0.3]
set xtics ("1/64" 1.0 / 64, "1/32" 1.0 / 32, "1/16" 1.0 / 16, "1/8" 0.125, "1/4" 0.25, "1/2" 0.5, "equal" 1, "2" 2, "4" 4) scale 0 textcolor "black"
set ytics scale 0 textcolor "black"
set border 2 linecolor "#888888"
set grid xtics linetype 1 linecolor "#dddddd"
set arrow from 1, graph 0 to 1, graph 1 nohead linewidth 1.5 linecolor "#888888" back
set key at screen 0.97, screen 16.0 / height right center vertical samplen 1.5 maxrows 1 width -1
set style fill solid noborder
met = 0x4c8fbd
missed = 0xd1495b
within(x) = x < 1.05 * left ? 1.05 * left : x > right ? right : x
plot DATA using (left):1:(left):(within($2)):($1 - 0.32):($1 + 0.32):($4 == 1 ? met : missed):yticlabels(5) \
       with boxxyerror linecolor rgb variable notitle, \
     DATA using (within($3)):($1 + 0.42):(0):(-0.84) with vectors nohead linewidth 3 linecolor "#222222" notitle, \
     NaN with boxes linecolor rgb met title "within its limit", \
     NaN with boxes linecolor rgb missed title "beyond its limit", \
     NaN with lines linewidth 3 linecolor "#222222" title "the limit"
