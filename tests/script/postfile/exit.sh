# The session's end closes the postfiles left open, so their files are whole; file handles open for
# appending get what was written to them.
cat > run.do <<'EOF2'
postfile p a str3 s using left, replace
post p (1) ("one")
post p (2) ("two")
file open h using app.txt, append
file write h "appended" _n
EOF2
printf 'first\n' > app.txt
"$ORVAT" -q $ORVAT_OPTS -b do run.do
cat > check.do <<'EOF2'
use left
list
type app.txt
EOF2
"$ORVAT" -q $ORVAT_OPTS -b do check.do
cat check.log
