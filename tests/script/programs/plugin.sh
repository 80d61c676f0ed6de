# Plugins: loaded by program ..., plugin, called by name or by plugin call.
dir=$(dirname "$ORVAT")
cp "$dir/testplug.plugin" "$dir/futureplug.plugin" "$dir/noinitplug.plugin" .
echo "not a shared object" > broken.plugin
cat > run.do <<'EOF2'
program testplug, plugin
local tell "hello"
testplug a "b c" ""
display "`fromplugin'"
plugin call testplug fail
capture plugin call testplug fail
display "c(rc) `c(rc)'"
program myname, plugin using(testplug.plugin)
myname one
program dir
program testplug, plugin
plugin call nosuch
plugin frobnicate testplug
program futureplug, plugin
program noinitplug, plugin
program broken, plugin
program absent, plugin
program drop testplug myname
testplug
EOF2
$ORVAT -q -b do run.do, nostop
sed -e "s|$PWD|.|g" run.log
