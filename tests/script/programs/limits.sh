# Limits of a definition: 3501 lines and 135600 bytes of lines; the arguments line below 165200 bytes.
{ echo "program lines_ok"; for i in $(seq 3501); do echo "di $i"; done; echo "end"; } > lines_ok.inc
{ echo "program lines_bad"; for i in $(seq 3502); do echo "di $i"; done; echo "end"; } > lines_bad.inc
# Each stored line is its reserved byte, its text and a terminating zero: 100 bytes here.
line=$(printf 'x%.0s' $(seq 98))
{ echo "program bytes_ok"; for i in $(seq 1356); do echo "$line"; done; echo "end"; } > bytes_ok.inc
{ echo "program bytes_bad"; for i in $(seq 1357); do echo "$line"; done; echo "end"; } > bytes_bad.inc
cat > run.do <<'EOF2'
run lines_ok.inc
run lines_bad.inc
run bytes_ok.inc
run bytes_bad.inc
program dir
* the definition that failed was read to its end: nothing of it ran
display "after"
* the arguments: _0 is what follows the word, its blank included; 165199 bytes fit, 165200 do not
program p
    display "p ran with `:length local 0' bytes"
end
global t "aaaaaaaaaa"
global a "$t$t$t$t$t$t$t$t$t$t"
global b "$a$a$a$a$a$a$a$a$a$a"
global c "$b$b$b$b$b$b$b$b$b$b"
global d "$c$c$c$c$c$c$c$c$c$c"
display "`:length global t' `:length global d'"
p $d$c$c$c$c$c$c$b$b$b$b$b$a$t$t$t$t$t$t$t$t${t}12345678
p $d$c$c$c$c$c$c$b$b$b$b$b$a$t$t$t$t$t$t$t$t${t}123456789
EOF2
$ORVAT -q -b do run.do, nostop
cat run.log
