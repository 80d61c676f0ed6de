# translate replaces a file only by a whole new one renamed into its place: a target that cannot be
# replaced keeps what it held, and no half-written file is left behind.
mkdir work && cd work
printf '{rimu}\n{res}first{txt}\n' > a.rimu
printf '{rimu}\n{res}second{txt}\n' > b.rimu
mkdir dir.txt
cat > run.do <<'DO'
translate a.rimu out.txt
type out.txt
translate b.rimu out.txt, replace
type out.txt
translate b.rimu dir.txt, replace
translate a.rimu out.txt
type out.txt
DO
"$ORVAT" -q -b do run.do, nostop
cat run.log
echo "-- files left:"
ls | sort
