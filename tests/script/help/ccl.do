* {ccl name} shows c(name): numbers as c() shows them, texts as they are
display "{ccl linesize}"
display as text "[{ccl linesize}] [{ccl byteorder}] [{ccl dirsep}]"
display "{ccl adopath}"
display "[`c(pi)'] [{ccl pi}]"
display "[`c(mindouble)'] [{ccl mindouble}]"
set linesize 60
display "{ccl linesize}"
set linesize 79
* an unknown name, no name, a second word: the directive shows as written
display "[{ccl nosuch}] [{ccl}] [{ccl linesize extra}]"
* literal text does not read directives
display _asis "{ccl linesize}"
local t : display "{ccl linesize}"
display `"`t'"'
* in a help file
help cclshow
