* local and global: the value is the rest of the line, blanks trimmed, one level of quotes removed
local a   two  words  
display "[`a']"
global g "quoted text"
display "[$g]"
local b `"`"x"'"'
display `"[`b']"'
local c `"say "hi""'
display `"[`c']"'
local d "x" "y"
display `"[`d']"'
* a missing closing quote
local e "x
local e `"x"
* an empty value deletes
global g
display "[$g]"
local a ""
display "[`a']"
* names: locals may start with a digit, globals may not start with _
local 1 first
display "`1'"
global _x 1
global 1a 1
local a.b 1
local abcdefghijklmnopqrstuvwxyz12345 thirtyone
display "`abcdefghijklmnopqrstuvwxyz12345'"
local abcdefghijklmnopqrstuvwxyz123456 thirtytwo
global abcdefghijklmnopqrstuvwxyz123456 g32
display "$abcdefghijklmnopqrstuvwxyz123456"
* macro define is global
macro define h from macro define
display "$h"
* expressions and unknown subcommands
local n = 2+2
display "`n'"
local s = "a" + "b"
display "`s'"
macro frobnicate
local
