#!/usr/bin/env bash
# Draws the tables of scripts/model_terms.sh. Usage: scripts/plot_model_terms.sh KINEMATIC STATIC OUT.svg
set -euo pipefail
gnuplot -e "kinematic='$1'; static='$2'; set output '$3'" - <<'G'
set terminal svg size 900,420 font 'sans-serif,13' background 'white'
set style data histograms
set style histogram clustered gap 1.5
set style fill solid 0.85 border -1
set logscale y
set yrange [1:10000]
set ylabel 'RMS after 1 h, mm'
set grid y
set xtics rotate by -35
set key top left horizontal
set multiplot layout 1,2
set title 'Kinematic, one term left out'
plot for [c=2:4] kinematic skip 1 using (column(c) * 1000):xtic(1) title word('x east north up', c)
set title 'Static'
plot for [c=2:4] static skip 1 using (column(c) * 1000):xtic(1) notitle
G
