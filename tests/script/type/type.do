* a text file is shown line by line as literal text
type plain.txt
* braces are text, not markup
type braces.txt
* tabs go to the next multiple of 8, or show as <T>
type tabs.txt
type tabs.txt, showtabs
* a last line without a newline still shows
type nonl.txt
display "next"
* cat is the same command; ty is the shortest abbreviation
cat plain.txt
ty nonl.txt
* a Rimu file is shown rendered; asis shows the text it holds
type marked.rimu
type marked.rimu, asis
quietly log using shown.rimu
type marked.rimu
display "back to plain text"
quietly log close
* the markup the log took: the file's styles, then plain text again
type shown.rimu, asis
type shown.rimu
type tabs.txt, asis
type tabs.txt, asis showtabs
type "plain.txt", asis
* quietly keeps it back
quietly type plain.txt
* failures
type nosuch.txt
type
type plain.txt, frobnicate
type plain.txt extra
type .
capture type nosuch.txt
display _rc
