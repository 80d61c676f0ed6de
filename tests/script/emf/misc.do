* environment: empty when the variable is not set, and then the macro is deleted
local e "before"
local e : environment NOSUCHVARIABLE
display "[`e']"
local e : env LC_ALL
display "[`e']"
* temporary names and files
local t1 : tempvar
local t2 : tempvar
display "`t1' `t2'"
local t : tempvar x
local f : tempfile
display "`:word count `f''"
* display directives become text
local d : display "a" "b" " c"
display "[`d']"
local d : di "x" 1
display "[`d']"
* settings and system directories
set maxiter 77
display "[`:set maxiter'] [`:set more'] [`:set nosuch']"
display "[`:sysdir nosuch']"
local s : sysdir nosuch
display "[`:dirsep'] [`:adosubdir "mine.ado"'] [`:adosubdir "x.style"']"
* time-series operators in normal form
display "[`:tsnorm LLD'] [`:tsnorm L2F'] [`:tsnorm FFF.gnp'] [`:tsnorm S12S4D'] [`:tsnorm ld.x']"
local x : tsnorm Q.x
* program properties
program withprops, properties(swap ok)
end
display "[`:properties withprops']"
local p : properties nosuch
* permname: a name not in use
display "[`:permname abc'] [`:permname abcdefghijklmnopqrstuvwxyz123456, length(10)']"
local p : permname abc, length(5)
* all globals with a pattern
global zz_one 1
global zz_two 2
display "[`:all globals "zz_*"']"
* unknown functions
local x : frobnicate
local x :
