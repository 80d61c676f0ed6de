* Every format and byte order: the same four observations come in, with the conversions of each
* format: names with dots (before 107), the oldest `.` of doubles and the sort list it clears (before
* 108), the old types and the values that make them wider (before 112).
foreach f in 102_lohi 103_lohi 103_hilo 104_lohi 104_hilo 105_lohi 105_hilo 106_lohi 106_hilo ///
    107_lohi 107_hilo 108_lohi 108_hilo 110_lohi 110_hilo 111_lohi 111_hilo 112_lohi 112_hilo ///
    113_lohi 113_hilo 114_lohi 114_hilo {
    display "--- `f'"
    use v`f', clear
    display "$S_FN|$S_FNDATE|" _N "|" c(width) "|" c(changed)
    format f d %21x
    list, clean noobs
}
* The descriptors as describe shows them, for one file of each layout.
foreach f in 102_lohi 104_hilo 106_lohi 108_hilo 110_lohi 111_hilo 112_lohi 113_hilo 114_hilo {
    describe using v`f'
}
use v104_hilo, clear
describe
use v110_lohi, clear
describe
