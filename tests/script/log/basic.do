* the unnamed log: opened, paused, resumed, reported and closed, each with its header
set logtype text
log
log using first
display "into the log"
log off
log off
display "while paused: not in the log"
log on
log on
log query
* one unnamed log, one log of a name, and one log writing a file
log using second.log
log using second.log, name(two)
log using third.log, name(two)
log using first.log, name(three) append
cmdlog using first.log, append
log query _all
log close two
* a file that exists needs append or replace
log close
log using first.log
log using first.log, name(again) append
display "appended"
log close again
log using first.log, replace rimu text
log using first.log, replace append
log using first.log, nosuch
log using first.log, name(x y)
log using
* names that aren't open
log off nosuch
log on nosuch
log close nosuch
log query nosuch
log frobnicate
log close
log off
log on
log close _all
log query _all
