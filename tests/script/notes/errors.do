* the failures of notes leave the notes as they were
clear
set obs 1
generate mpg = 1
generate price = 1
notes mpg: one
notes nosuch: x
notes mpg price: x
notes m*: x
notes mpg:
notes:
notes drop
notes drop nosuch
notes drop mpg in x
notes drop mpg in 0
notes drop mpg in 3/2
notes drop mpg in 1 extra
notes list nosuch
notes replace mpg in 5: x
notes replace mpg in 1/2: x
notes replace in 1: x
notes replace mpg in 1:
notes
* a variable named like a word of notes is reached with a colon
generate drop = 1
notes drop: about drop
notes list drop
help notes
