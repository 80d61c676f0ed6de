* value-label tables: define, add, modify, the values that may be labelled, and label list
clear
label define yn 0 no 1 yes
label list yn
return list
* a name that exists needs add or modify
label define yn 2 maybe
label list yn
* add gives new values, and may not change old ones
label define yn 2 maybe 3 "not sure", add
label define yn 1 "yes, indeed", add
label define yn 1 yes 4 four, add
label list yn
* modify changes old values, and an empty text removes one
label define yn 1 "yes, indeed" 3 "", modify
label list yn
* every integer of the long range and .a to .z may be labelled
label define edge -2147483647 "lowest" 2147483620 "highest" .a "missing a" .z "missing z"
label list edge
return list
* . and numbers with a fraction or beyond the range may not
label define bad 1 one . "dot"
label define bad 1.5 "half"
label define bad 2147483621 "too big"
label define bad -2147483648 "too small"
label define bad 1e300 "huge"
label dir
* bad syntax and bad names
label define
label define 1x 1 one
label define odd 1
label define odd 1 "open
label define odd x one
label define odd 1 "a"b
label define odd 1 one, nosuch
label dir
* texts with blanks, quotes and braces; a long text
label define txt 1 `"say "yes""' 2 "{bf:not markup}" 3 "   blanks around   "
label list txt
label define long 1 "This text is long enough that it cannot stand on one line of the listing, so label list breaks it at blanks and goes on below the first column of text."
label list long
* removing every value removes the table
label define gone 1 one
label define gone 1 "", modify
label dir
label list gone
* label list of several tables, and of none that exists
label list yn txt
return list
label list yn nosuch
label list
