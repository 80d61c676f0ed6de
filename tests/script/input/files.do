* a line that fails ends input in a file with 198; what was entered before it stays
clear
do badvalue.inc
list
do toofew.inc
list in 2/l
do toomany.inc
do quote.inc
do twoletters.inc
display "observations: " _N
* end ends input; the file goes on behind it
do withend.inc
* the end of the file ends input as end does
do noend.inc
list in 4/l
* lines that end at a semicolon
do delimit.inc
list in 6/l
* run shows neither the command nor the lines
run withend.inc
* quietly: the lines are read, and nothing is shown
quietly do withend.inc
list in 8/l
* a failure in a nostop file: input ends, and the next lines are commands
input x y
30 31
32 oops
33 34
end
list in 10/l
