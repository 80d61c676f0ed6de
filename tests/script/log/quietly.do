* what quietly keeps from the screen doesn't reach a log either
quietly log using q.log, text
display "shown and logged"
quietly display "hidden and not logged"
quietly noisily display "noisily under quietly: shown and logged"
capture display "captured: not logged"
capture noisily display "captured but noisily: logged"
set output error
display "output error: not logged"
display as error "an error-class line: shown and logged"
set output proc
display "back to normal"
quietly log close
view q.log
