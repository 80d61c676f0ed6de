# Files of every readable format in both byte orders, written byte by byte by mkdta.py, read by old.do.
python3 mkdta.py && "$ORVAT" -q $ORVAT_OPTS -b do old.do, nostop && cat old.log
