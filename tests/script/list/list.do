* with no variables there is nothing to list
list
set obs 3
list
l in 2/3
list if _n == 2, noobs clean
* failures
list nosuch
list in 5
list in 0
list, nosuch
list, separator(
list, separator(-1)
list, abbreviate(x)
list if
list if "a"
list extra
