* characteristics: define, the short form, list, removal, and their expansion in macros
clear
set obs 1
generate mpg = 1
generate price = 2
char define _dta[source] "the 2009 survey"
char mpg[units] miles per gallon
char mpg[checked] `"by "ann""'
char de price[units] dollars
char list
* an empty text removes a characteristic; a later one stands last
char mpg[units] ""
char mpg[units]
char define mpg[units] "mpg"
char list mpg
char list mpg[]
char list mpg[checked]
char list _dta
char list price[nosuch]
* the expansion of evarname[charname]; abbreviations name the variable
display `"[`mpg[units]'] [`pr[units]'] [`_dta[source]'] [`mpg[nosuch]'] [`nosuch[units]']"'
local n units
display "[`mpg[`n']']"
* texts with braces and macro characters are kept as given
char _dta[odd] "{bf:x} \$y"
char list _dta[odd]
local t : char _dta[odd]
display _asis `"`macval(t)'"'
* a long text is broken at blanks in the listing
char _dta[long] "This characteristic has a text that is far too long for one line of the listing, so it goes on below."
char list _dta[long]
* a variable named like a subcommand is reached through its brackets
generate list = 3
char list[x] on list
char l list
* failures: nothing changes
char
char mpg
char mpg[]
char mpg[units "x"
char mpg[1x] "x"
char mpg[abcdefghijklmnopqrstuvwxyzabcdefg] "x"
char nosuch[x] "x"
char mpg[units] "open
char mpg[units] "a" "b"
char list nosuch
char list mpg[units] extra
char define
char list
* a characteristic of the dataset counts as a change, one of a temporary variable does not
quietly describe
local c0 = r(changed)
char _dta[x] y
quietly describe
display r(changed) - `c0'
generate _t = 1
quietly describe
local c0 = r(changed)
char _t[x] y
quietly describe
display r(changed) - `c0'
help char
* a text longer than 67784 characters is cut there; a label text longer than 32000 likewise
local big : display _dup(400) "0123456789012345678901234567890123456789012345678901234567890123456789012345678901234567890123456789"
local big `big'`big'
char _dta[big] `big'
local back : char _dta[big]
local n : length local back
display `n'
label define big 1 `"`big'"'
local n : label big maxlength
display `n'
