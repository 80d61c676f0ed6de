# The ado path: each element is tried as a directory, then its letter subdirectory.
mkdir -p mine/l ado/personal/z
printf 'program lettered\n    display "found in the letter directory"\nend\n' > mine/l/lettered.ado
printf 'program zz_personal\n    display "found under PERSONAL"\nend\n' > ado/personal/z/zz_personal.ado
printf 'program first\n    display "first directory wins"\nend\n' > mine/first.ado
mkdir -p other
printf 'program first\n    display "second directory"\nend\n' > other/first.ado
cat > run.do <<'EOF2'
global S_ADO "mine;other"
lettered
first
which first
zz_personal
global S_ADO "mine;PERSONAL"
zz_personal
display "`c(adopath)'"
EOF2
HOME=$PWD $ORVAT -q -b do run.do, nostop
cat run.log
echo "-- S_ADO from the environment"
S_ADO="other" $ORVAT -q -b 'first'
cat orvat.log
