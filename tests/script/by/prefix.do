* The by prefix: groups of equal by-variables, each announced, the command run again for each.
set obs 9
generate g = mod(_n, 3) + 1
generate str3 s = cond(_n > 5, "hi", "lo")
generate double x = _n / 4
format x %4.2f
* not sorted, then sorted by bysort or by's sort option
by g: count
bysort g: count
by s, sort: count if x > 1
* two variables, and a sort tail that must follow in the sort list
bysort g s: count
by g (s): count
by g (x): count
* rc0 goes on after a failing group; without it the first failure ends the loop
by g, rc0: assert x < 1
by g: assert x < 1
* commands that do not take by, and a second by
by g: display "x"
by g: sort x
by g: describe
by g: by s: count
* in may not be combined with by
by g: count in 1
* the variable count is put back when a group fails
capture program drop failing
program define failing, byable(recall)
    generate made = 1
    if _byindex() == 2 exit 459
end
by g: failing
capture count if made == 1
display "made survives: " _rc == 0
* a generate that fails at run time in a later group leaves no variable
display regexm("abc", "(b)")
by g: generate t = regexs(cond(g == 2, 12, 0))
capture count if t == ""
display "t survives: " _rc == 0
* observations dropped under by go at the end, with one note
by g: drop if _n == 1
count
bysort s: keep if _n <= 2
count
by g: list g s x
