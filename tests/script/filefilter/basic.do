* filefilter copies a file with one byte sequence replaced and counts what it did.
filefilter crlf.txt unix.txt, from(\W) to(\U)
return list
type unix.txt
filefilter unix.txt semi.txt, from(;) to(",")
display r(occurrences) " " r(bytes_from) " " r(bytes_to)
type semi.txt
* The escapes: quotes, dollar, backslash, decimal bytes.
filefilter crlf.txt q.txt, from(\Q) to(\LQ\RQ)
display r(occurrences)
filefilter crlf.txt d.txt, from(\$x\BSy) to(\059d)
display r(occurrences) " " r(bytes_to)
type d.txt
filefilter crlf.txt e.txt, from(\LQq\RQ) to(\t)
display r(occurrences)
* A sequence that is not there: a plain copy.
filefilter crlf.txt same.txt, from("zz")
display r(occurrences) " " r(bytes_from) " " r(bytes_to)
* Failures: the old file missing, the new one there without replace, from() missing.
capture noisily filefilter nosuch.txt x.txt, from(a) to(b)
display _rc
capture noisily filefilter crlf.txt unix.txt, from(a) to(b)
display _rc
type unix.txt
capture noisily filefilter crlf.txt y.txt, to(b)
display _rc
capture noisily filefilter crlf.txt y.txt, from(\999d)
display _rc
capture noisily filefilter crlf.txt crlf.txt, from(a) replace
display _rc
filefilter crlf.txt unix.txt, from(\r) to("") replace
display r(occurrences) " " r(bytes_to)
