# The classes of as and in, the display modes and _column, seen in a Rimu log, whose tags show them.
cat > classes.do <<'DO'
display "plain " as text "text " as result "result " as error "error " as input "input"
display as txt "t" as res "r" as err "e" as com "c"
display as yellow "y" as green "g" as blue "b" as red "r" as white "w"
display as text "a" _column(10) "b"
display _asis as error "{x}" _column(8) "y"
display as error "x" in rimu "{hline 2}"
display in rimu "{hline 2}"
version 6: display "{hline 2}" _column(12) "z"
DO
$ORVAT -q -s do classes.do
cat classes.rimu
