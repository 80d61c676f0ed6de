* precedence: | loosest, / tightest, ^ from the left
display 2+3*4
display 8/4*2
display 10-3-2
display 2^3^2
display -2^2
display 1e-5+1
display 2 -3
display 2*-3
display 3>2>1
display 1|0&0
display (1|0)&0
display !0+1
display 7/2
* missing values: arithmetic gives ., comparisons see large numbers
display .+1
display .a*0
display 1/0
display .a==.b
display .a<.b
display . > 5
display .a
display -.a
display . & 1
display !.
display sqrt(-1)
* strings
display = "ab"+"cd"
display ("b">"a")
display = "x" + string(12)
display ("a"=="a") + ("a"!="b") + ("a"~="a")
* _n, _N and _pi
set obs 3
display _N
display (_n)
display _pi
display c(pi)
