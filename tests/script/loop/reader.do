display "tab	here"
	display "led by a tab"
display "a" /* inline */ "b"
/* a comment
   over lines */ display "after comment"
display "x" /* nested /* inner */ still */ "y"
display "quoted /* not a comment */"
display "join" ///
   " continued"
display `"compound "quote" // kept"'
display "crlf"
display "cr only"
display "after cr"
#bogus
#delimit ;
display "one"
   "two";
display "a"; display "b";
#delimit cr
display "back to cr"
#d ;
#delimit cr
display 1// no comment without a blank
