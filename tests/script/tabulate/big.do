* enough observations for the counting kernels to run on the frame; the log is the same under any
* number of threads
set obs 300000
generate g = mod(_n * 7919, 1000)
generate h = mod(_n, 7) + 0.5
generate k = mod(_n * 31, 5)
generate double u = mod(_n * 13, 997) / 997
quietly tabulate g
display r(N) " " r(r)
tabulate k
tabulate h k, chi2
tabulate k [fweight = k + 1]
tabulate k [aweight = u]
quietly tabulate u
display r(r)
