* view renders Rimu files and shows other files as plain text, braces and all
quietly log using shown.rimu
display "{hline 20}"
display as result "a result" as text " and {c -(}braces{c )-}"
display "{p 4 8 2}" "a paragraph long enough to need two lines when it is shown at the width of the screen{p_end}"
quietly log close
view shown.rimu
view file shown.rimu
translate shown.rimu shown.txt
view shown.txt
view view.do
display "the line after"
