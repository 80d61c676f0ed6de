* zipfile writes an archive, unzipfile reads it back; nothing is replaced without replace.
filefilter one.txt two.txt, from(one) to(two)
zipfile one.txt two.txt, saving(both)
capture noisily zipfile one.txt, saving(both)
display _rc
zipfile one.txt, saving(both.zip, replace)
zipfile *.txt, saving(both, replace)
capture noisily unzipfile both
display _rc
filefilter two.txt one.txt, from(x) to(y) replace
unzipfile both, replace
type one.txt
type two.txt
* Failures: no such file, no such archive, a damaged or truncated archive, a file that is no archive.
capture noisily zipfile nosuch.txt, saving(z)
display _rc
capture noisily unzipfile nosuch
display _rc
capture noisily unzipfile notzip.zip
display _rc
capture noisily unzipfile truncated.zip, replace
display _rc
capture noisily unzipfile badcrc.zip, replace
display _rc
type one.txt
