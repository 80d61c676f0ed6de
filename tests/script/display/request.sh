# _request reads the next line typed (here, standard input) into a macro, global or local.
printf '%s\n' \
  'display "Name? " _request(nm)' \
  'Bob Smith' \
  'display "hi $nm"' \
  'display "x" _request(_loc) "y"' \
  'an answer' \
  "display \"[\`loc']\"" \
  'display "again: " _request(empty)' \
  '' \
  'display "[$empty]"' \
  | $ORVAT -q
