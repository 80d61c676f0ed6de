* save and use: every storage type, the 27 missing values of each numeric type, the limits of each
* type, a string of 244 bytes, formats and a sort list come back as they were, through format 114 and,
* with oldformat, 113.
clear
input byte b int i long l float f double d str1 s
. . . . . ""
.a .a .a .a .a "a"
.b .b .b .b .b "b"
.c .c .c .c .c "c"
.d .d .d .d .d "d"
.e .e .e .e .e "e"
.f .f .f .f .f "f"
.g .g .g .g .g "g"
.h .h .h .h .h "h"
.i .i .i .i .i "i"
.j .j .j .j .j "j"
.k .k .k .k .k "k"
.l .l .l .l .l "l"
.m .m .m .m .m "m"
.n .n .n .n .n "n"
.o .o .o .o .o "o"
.p .p .p .p .p "p"
.q .q .q .q .q "q"
.r .r .r .r .r "r"
.s .s .s .s .s "s"
.t .t .t .t .t "t"
.u .u .u .u .u "u"
.v .v .v .v .v "v"
.w .w .w .w .w "w"
.x .x .x .x .x "x"
.y .y .y .y .y "y"
.z .z .z .z .z "z"
-127 -32767 -2147483647 -1.fffffeX+7e -1.fffffffffffffX+3ff "-"
100 32740 2147483620 1.fffffeX+7e 1.fffffffffffffX+3fe "+"
0 -1 1 1.0X-7e 1.0X-3fe "0"
end
local t
forvalues k = 1/24 {
    local t `t'0123456789
}
generate str244 t = "`t'abcd" if _n > 27
generate str244 u = "`t'abc" if _n == 29
format f d %21x
format t %-244s
sort b i
quietly describe
local before `r(N)' `r(k)' `r(width)' `r(sortlist)'
* what the data are before
list b i l f d s in 1/4, noobs clean
count if t == "`t'abcd"
count if u == "`t'abc"
save rt
display c(changed) " " c(filename)
use rt, clear
quietly describe
display "`before'"
display "`r(N)' `r(k)' `r(width)' `r(sortlist)'"
list b i l f d s in 1/4, noobs clean
count if t == "`t'abcd"
count if u == "`t'abc"
display "`: format t' `: format f' `: format u'"
* every missing value is exactly itself in every type
count if b == . & i == . & l == . & f == . & d == . & s == ""
foreach c in `c(alpha)' {
    quietly count if b == .`c' & i == .`c' & l == .`c' & f == .`c' & d == .`c' & s == "`c'"
    if r(N) != 1 display "`c' " r(N)
}
* format 113: the same values; a date format longer than 11 bytes keeps its kind
format l %tcDD/NN/CCYY_HH:MM:SS
format i %-td
save rt113, oldformat
use rt113, clear
quietly describe
display "`r(N)' `r(k)' `r(width)' `r(sortlist)'"
display "`: format t' `: format f' `: format l' `: format i'"
format l i %12.0g
list b i l f d s in 1/4, noobs clean
count if t == "`t'abcd"
* save with no name takes S_FN, and needs replace as any other name
save
save, replace
display c(filename)
