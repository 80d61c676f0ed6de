# Temporary files and names: a program's tempfiles are removed when it ends; those of the caller stay.
cp "$(dirname "$ORVAT")/testplug.plugin" .
cat > run.do <<'EOF2'
program testplug, plugin
program maker
    tempfile f g
    testplug touch `f'
    testplug touch `g'
    display `"inside: `:dir "`c(tmpdir)'" files "S*"'"'
    tempname n1
    display "tempname inside: `n1'"
end
tempfile mine
testplug touch `mine'
display `"before: `:dir "`c(tmpdir)'" files "S*"'"'
maker
display `"after: `:dir "`c(tmpdir)'" files "S*"'"'
tempname n2
display "tempname after: `n2'"
tempvar v
display "tempvar: `v'"
tempfile a.b
tempname
EOF2
$ORVAT -q -b do run.do, nostop
# the process id is part of each name: shown as PID
sed -e 's/St[0-9]\{5\}\./StPID./g' run.log | grep -v '^testplug\|^  \[\|^[0-9]* observations'
echo "-- after the session ends its temporary files are gone"
ls tmp
