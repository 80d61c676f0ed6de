* byable programs: recall (announced, or not with noheader) and onecall with _byobs
set obs 7
generate g = cond(_n <= 3, 1, 2)
generate x = _n
sort g
program define rec, byable(recall)
    display "group " _byindex() " of the by, last " _bylastcall() ", _by() " _by()
    count
end
program define silent, byable(recall, noheader)
    count
end
program define once, byable(onecall)
    display "once, _by() " _by()
    _byobs {
        display "group " _byindex()
        count if x > 2
    }
    count
end
program define notby
    display "ran"
end
by g: rec
by g: silent
by g: once
by g: notby
display "outside: _by() " _by()
