# Preferences: set ..., permanently is kept in $HOME/.orvat10/console/orvat10.rc for the next session.
rc=home/.orvat10/console/orvat10.rc
times() { sed -e 's/ t=[0-9.]* [0-9:]*$/ t=TIME/' "$@"; }
$ORVAT -q -b 'set rmsg on, permanently'
times orvat.log
ls -a home/.orvat10/console
echo "-- the next session starts with rmsg on"
printf 'display "rmsg is `c(rmsg)'"'"'"\n' > show.do
$ORVAT -q -b do show.do
times show.log
echo "-- choices are kept by their number, type by its code"
cat > set.do <<'EOF2'
set type double, permanently
set logtype text, permanently
set level 90, permanently
set maxiter 99, perm
set rmsg off, permanently
EOF2
$ORVAT -q -b do set.do
grep -v '^orvat' $rc | sort
ls home/.orvat10/console
echo "-- a session with a waiting command does not read cilevel; one without does"
printf 'display "`c(type)'"'"' `c(logtype)'"'"' `c(maxiter)'"'"' level `c(level)'"'"'"\n' > show.do
$ORVAT -q -b do show.do
cat show.log
$ORVAT -q < show.do
echo "-- memory preferences come before the options"
$ORVAT -q -b 'set memory 20m, permanently'
$ORVAT -b 'display "x"' > /dev/null
grep MB orvat.log
$ORVAT -m30 -b 'display "x"' > /dev/null
grep MB orvat.log
echo "-- a file that cannot be read is kept as .bad and the session starts from the defaults"
printf 'not a preference file\n' > $rc
$ORVAT -q -b do show.do
cat show.log
ls home/.orvat10/console
cat home/.orvat10/console/orvat10.rc.bad
echo "-- pref: the store by handle; a group and key of 97 bytes together are refused"
mkdir other
cat > pref.do <<'EOF2'
pref save 0 mine key1 value one
pref get 0 mine key1
pref save 0 mine aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa v
pref get 0 mine aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa
pref save 0 mine aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa v
pref get 0 mine aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa
pref cache
pref open other other.rc
pref save 1 g k "in the other store"
pref write 1
pref dump 1
pref close 1
pref get 1 g k
pref encrypt secret text
pref decrypt 29e6c1090f87929f1f1bb6
pref decrypt 29e
pref frobnicate
EOF2
$ORVAT -q -b do pref.do, nostop
cat pref.log
cat other/other.rc
echo "-- without HOME there is no store and nothing is written"
env -u HOME $ORVAT -q -b 'set rmsg on, permanently'
times orvat.log
