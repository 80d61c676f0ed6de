* abbreviations resolve in table order within the first letter
di "di is display"
dis "dis is display"
display "in full"
de
q born
qui display "qui is quietly: hidden"
quietly display "hidden too"
d
versio
* rows that depend on the version
version 5
cp
numlist
estimates
version 6
cp
version 10.1
estimates
ereturn
_est
* words that are not commands
thisisaverylongcommandwordthatgoesbeyondthirtytwobytes
3abc
a-b
.member
!ls
{
* a word cut to 32 bytes before the look-up
displayxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx "cut"
