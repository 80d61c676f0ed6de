* confirm: each form passing and failing
set obs 2
generate byte b = 1
generate int i = 1
generate long l = 1
generate float f = 1
generate double d = 1
generate str3 s = "a"
generate str10 t = "b"
* existence
confirm existence something
confirm existence
confirm e `nosuchmacro'
* numbers
confirm number 1.5
confirm number -3e4
confirm number abc
confirm number 1 2
confirm number .
confirm number
confirm integer number 12
confirm integer number 1.5
confirm int number abc
* names
confirm name alpha
confirm name 1alpha
confirm name a b
confirm names a b _c
confirm names a b-c
* formats
confirm format %9.2f
confirm format %-12s
confirm format %td
confirm format %q
confirm format 9.2f
* variables
confirm variable b i s
confirm v b-d
confirm variable nosuch
confirm variable
confirm numeric variable b i l f d
confirm numeric variable b s
confirm string variable s t
confirm str variable s t
confirm string variable s b
confirm byte variable b
confirm byte variable i
confirm int variable i
confirm long variable l
confirm float variable f
confirm double variable d
confirm double variable f
confirm str3 variable s
confirm str3 variable t
* new variables
confirm new variable z1 z2
confirm new variable b
confirm new variable 1z
confirm new variable
* files
confirm file confirm.do
confirm file "confirm.do"
confirm file nosuch.txt
confirm new file fresh.txt
confirm file fresh.txt
confirm new file confirm.do
confirm new file nosuchdir/fresh.txt
* lines confirm does not know
confirm
confirm nosuch
confirm new thing x
confirm numeric number 1
* capture gives the code to a program
capture confirm number abc
display _rc
capture confirm variable nosuch
display _rc
