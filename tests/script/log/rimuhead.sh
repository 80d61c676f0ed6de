# A Rimu log begins with the head line and the style in force, and holds the markup as it came:
# "{hline}" stands in it as such, where a text log holds dashes.
cat > head.do <<'DO'
log using raw.rimu
display "{hline 10}"
display "{p 4 8 2}" "in a paragraph{p_end}"
log close
log using raw.log
display "{hline 10}"
log close
DO
$ORVAT -q -b do head.do
norm() { sed -e 's/\(on:  \).*[0-9][0-9]:[0-9][0-9]:[0-9][0-9]\(.*\)$/\1DATE TIME\2/' "$1"; }
echo "--- raw.rimu"
norm raw.rimu
echo "--- raw.log"
norm raw.log
