# Typed lines: a loop head, behind any of the prefixes, is not expanded before it runs, so the
# body's macros are read at each pass; a line that is no loop head is expanded first.
printf '%s\n' 'local i 5' \
  'qui while `i'"'"' < 7 {' 'noisily display "pass `i'"'"'"' 'local i = `i'"'"' + 1' '}' \
  'local j 1' 'cap noi forv k = 1/2 {' 'display "k `k'"'"' j `j'"'"'"' 'local j = `j'"'"' * 10' '}' \
  'n foreach w in a b {' 'display "`w'"'"'"' '}' \
  'local z 3' 'display "expanded at once: `z'"'"'"' \
  | "$ORVAT" -q
