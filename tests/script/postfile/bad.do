* failures of postfile and post
postfile p a b using nosuch/dir/file
postfile p using out
postfile p a a using out
postfile p str8 using out
postfile p a b using out, replace every(0)
postfile p a str4 s using out, replace
postfile p x using other
post p (1)
post p (1) ("x") (3)
post p ("x") ("y")
post p (1) ("abc")
post p 1 "x"
post p (1) (nosuch)
post p (1) ("toolongtext")
post q (1)
post p (2) ("abc") (3)
postclose p
postclose p
use out, clear
list
* an old file stays when a new one is not closed
postfile p a using out, replace
post p (99)
program ends
    tempname h
    postfile `h' a using out, replace
    post `h' (7)
end
ends
use out, clear
list
* a postfile left open by a program is gone at its end; the file it would have written is not there
capture confirm file out2.dta
display _rc
program ends2
    tempname h
    postfile `h' a using out2
    post `h' (7)
end
ends2
capture confirm file out2.dta
display _rc
postutil dir
postclose p
use out, clear
list
