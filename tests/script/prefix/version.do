version
version 8
version
version 7
version
version 7, missing
version
version 10.1
version 10.11
version 0.9
version 11
version 9.2.1
version abc
version 9: version
version
version 8.2, missing: version
version 9, born(10jun2010): display "born on the day"
version 9, born(11jun2010): display "not run"
version 9, born(31feb): display "not run"
version 9, born(1 Jan 2001)
version
version 10.1
version 7, missing
version
version 10.1 extra
version 10.1
