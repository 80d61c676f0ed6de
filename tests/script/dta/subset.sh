# The subset form of use, on the files of mkdta.py.
python3 mkdta.py 114 110 && "$ORVAT" -q $ORVAT_OPTS -b do subset.do, nostop && cat subset.log
