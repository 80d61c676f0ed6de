* matrix accum over enough observations to run on the frame: the sums are taken over fixed chunks
* and added in order, so the bits are the same with one processor or two (the runner repeats this
* file with -p1 and -p2, and the log must not change)
clear
set obs 60000
generate double x1 = mod(_n * 7, 97) / 7
generate double x2 = sqrt(_n) / 3
generate float x3 = mod(_n, 13) - 6.5
generate w = mod(_n, 5)
replace x2 = . if mod(_n, 1001) == 0
matrix accum A = x1 x2 x3
display %21x A[1,1] " " %21x A[2,1] " " %21x A[3,2] " " %21x A[4,3] " " r(N)
matrix accum A = x1 x2 x3 [aweight = w], deviations
display %21x A[1,1] " " %21x A[2,1] " " %21x A[3,2] " " %21x A[3,3] " " r(N) " " r(sum_w)
matrix accum A = x1 x2 x3 if x3 > 0 in 11/59000, noconstant
display %21x A[1,1] " " %21x A[2,1] " " %21x A[3,2] " " r(N)
matrix vecaccum a = x1 x2 x3 [fweight = w]
display %21x a[1,1] " " %21x a[1,2] " " %21x a[1,3] " " r(N)
* within one session: two processors give the result of one, bit for bit
matrix accum A = x1 x2 x3, deviations
capture quietly set processors 2
matrix accum B = x1 x2 x3, deviations
quietly set processors 1
matrix accum C = x1 x2 x3, deviations
display mreldif(A, B) " " mreldif(A, C)
