* a long line continues with "> " in a text log as on the screen
set linesize 40
quietly log using long.log, text
display "abcdefghijklmnopqrstuvwxyz0123456789abcdefghijklmnopqrstuvwxyz0123456789"
display "{hline}"
display "{hline 5}{c +}{hline 5}"
quietly log close
set linesize 79
view long.log
