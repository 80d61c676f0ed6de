# Damaged files, made by mkbad.py from the files of mkdta.py, read by bad.do; then the file system's
# own refusals: a directory, a FIFO, a name in a directory that does not exist.
python3 mkbad.py && mkdir adir.dta && mkfifo fifo.dta && "$ORVAT" -q $ORVAT_OPTS -b do bad.do, nostop && cat bad.log
