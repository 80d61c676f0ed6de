* more than 200 observations: count runs on the team for its if
set obs 5000
generate double x = mod(_n * 7919, 1000) / 1000
count if x > 0.5
display r(N)
count if x > 0.5 in 1001/4000
count if x >= 0 & x < .25
count if x == 0
count if x > 2
count if mod(_n, 2) in 10/l
