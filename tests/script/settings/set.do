* words are found by their first letter and minimum length
set a 50
display "`c(adosize)'"
set ma 400
set mat 400
set maxi 100
set maxiter 100
display "`c(maxiter)'"
set frobnicate on
set
* on and off
set varabbrev off
display "`c(varabbrev)'"
set varabbrev maybe
set checksum on extra
* choices
set searchdefault all
display "`c(searchdefault)'"
set searchdefault everywhere
set kilnfavor space
display "`c(kilnfavor)'"
set logtype html
set logtype text
display "`c(logtype)'"
set charset ebcdic
set printcolor gs4
set type int
set type double
display "`c(type)'"
set dp comma
display "`c(dp)'"
set dp period
set scheme nosuch
set scheme s2color
* numbers and their ranges
set maxiter 16001
set maxiter x
set timeout1 30
display "`c(timeout1)'"
set level 90
display "`c(level)' $S_level"
set level 99.995
set level 5
set level 90.5
display "`c(level)'"
set linesize 60
display "`c(linesize)'"
display "the log is now sixty characters wide: 123456789012345678901234567890"
set linesize 30
set linesize 79
set pagesize 30
set processors 1
set processors 2
set processors 2
set processors 1
capture set processors 0
display "c(rc) `c(rc)'"
set seed 12345
display "`c(seed)'"
* words kept for old programs
set linegap 3
set scrollbufsize 1000
set video on
set maxobs 1000
* exact-form words
set kilnstrict on
display "`c(kilnstrict)'"
set kilnstric on
set tol 1e-9
set tracedepth 2
display "`c(tracedepth)'"
set tracehilite "display", word
set tracehilite "x", phrase
* permanently: only settings that are kept between sessions
set linesize 79, permanently
set more off, perm
set more 1, permanently
set maxiter 50, frobnicate
* data must be empty for memory, maxvar, matsize
set maxvar 2047
set matsize 9
set matsize 11001
set matsize 800
display "`c(matsize)'"
set memory 20m
display "`c(memory)'"
set obs 3
set memory 30m
