# SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
# SPDX-License-Identifier: LGPL-2.1-or-later
#
# Draws a table of plotbench: gnuplot -c bench/plots.gnuplot TABLE PICTURE TITLE NAME-OF-X

set terminal pngcairo size 1000,650 enhanced font 'DejaVu Sans,13'
set output ARG2
set datafile missing '-'
set title ARG3 noenhanced font ',15'
set xlabel ARG4
set ylabel 'time of the whole process (ms)'
set logscale xy
set format x '10^{%T}'
set format y '%g'
set grid xtics ytics linecolor rgb '#d0d0d0' linetype 1
set key left top reverse Left
set rmargin 4

# colours of Okabe and Ito, which the colour-blind tell apart, and a mark of its own for each line
set style line 1 linecolor rgb '#0072b2' linewidth 3.5 pointtype 7 pointsize 1.5
set style line 2 linecolor rgb '#e69f00' linewidth 2 pointtype 5 pointsize 1.3
set style line 3 linecolor rgb '#009e73' linewidth 2 pointtype 9 pointsize 1.5
set style line 4 linecolor rgb '#cc79a7' linewidth 2 pointtype 13 pointsize 1.6 dashtype 2

plot for [tool = 1:4] ARG1 using 1:(column(tool + 1)) title columnheader(tool + 1) with linespoints linestyle tool
