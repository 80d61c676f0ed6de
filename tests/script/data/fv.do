* Factor-variable maintenance commands with no variables in memory:
* nothing to describe, and the messages for lists that name nothing.
fvdescribe
dumpfv
testfv
testfv nosuch
testfv i(nosuch)
testfv i()
dumpfv extra
fvd
help testfv
