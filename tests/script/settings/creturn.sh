# creturn list: every c() value under its heading; lines that depend on the machine, the date or
# the directories are shown with their values replaced. A long directory wraps in the log, so the
# continuation lines are joined back first.
$ORVAT -q -b 'creturn list'
sed -e ':a' -e 'N' -e '$!ba' -e 's/\n> //g' orvat.log | sed -e 's/\(c(current_date)  *= \).*/\1DATE/' -e 's/\(c(current_time)  *= \).*/\1TIME/' \
    -e 's/\(c(username)  *= \).*/\1USER/' -e 's/\(c(osdtl)  *= \).*/\1OS/' \
    -e 's/\(c(processors_m[a-z]*)  *= \).*/\1N/' -e "s|$SYSDIR_ORVAT/|SYSDIR/|" -e 's/\(_current) *= \).*/\1N/'  -e "s|$PWD|.|" \
    -e 's|= "/[^"]*/ado/"|= "PARENT/ado/"|'
$ORVAT -q -b 'creturn'
cat orvat.log
$ORVAT -q -b 'creturn list x'
cat orvat.log
