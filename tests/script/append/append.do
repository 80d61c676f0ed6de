* append: the rows of a file behind those in memory; types and string widths promoted, variables of
* one side only filled with `.` or ""
program show
    quietly describe
    display _N " obs, width " c(width) ", changed " c(changed) ", sorted by [`r(sortlist)']"
end
clear
input int a str10 s double only_u
300 "ten chars!" 1.5
-2 "" .a
end
save u1
clear
input byte a str5 s byte only_m
1 "five!" 7
2 "x" 8
end
sort a
save m1
append using u1
show
display "`: type a' `: type s' `: type only_m' `: type only_u'"
list
* str10 in memory takes str5 of the file as it is; byte in the file goes into int
use u1, clear
append using m1
display "`: type a' `: type s'"
list
* long against float gives double
clear
input long a
2147483620
end
save u2
clear
input float a
0.5
end
append using u2
display "`: type a'"
format a %12.0g
list
* keep(), and an empty using file
use m1, clear
append using u1, keep(s only_u)
list
use u1, clear
drop in 1/2
save empty
use m1, clear
append using empty
show
display "`: type a' `: type s'"
* numeric onto string, no dataset, a missing file: the dataset stays as it was
use m1, clear
clear
input str3 only_m
"abc"
end
save strfile
use m1, clear
append using strfile
append using nosuch
append using u1, keep(nosuch)
show
list
clear
append using u1
