# log: headers of open, pause, resume and close (with the date and time replaced), the messages, and
# what reached the file.
$ORVAT -q -b do basic.do, nostop
norm() { sed -e 's/\(on:  \).*[0-9][0-9]:[0-9][0-9]:[0-9][0-9]$/\1DATE TIME/' "$1"; }
norm basic.log
echo "--- first.log"
norm first.log
echo "--- second.log"
norm second.log
