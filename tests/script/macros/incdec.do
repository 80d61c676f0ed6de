local i 9
display "`i++' then `i'"
display "`++i' then `i'"
display "`i--' then `--i' then `i'"
local ++i
display "`i'"
local --i
display "`i'"
* not defined, not a number
local ++nosuch
display "`nosuch++'"
local t abc
display "`++t'"
local ++t
* other codes and extra text are refused
global ++i
local ++i extra
local +-i
c_local ++i
* decimals and negative numbers
local f 1.5
display "`++f'"
local m -1
display "`++m' `++m'"
