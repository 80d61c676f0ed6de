* a two-way table wider than the line is shown in panels of columns; the totals close the last
set obs 200
generate r = mod(_n, 3)
generate c = mod(_n * 7, 23) * 100
tabulate r c
assert r(c) == 23 & r(N) == 200
set linesize 120
tabulate r c, row
set linesize 60
tabulate r c, nofreq cell
