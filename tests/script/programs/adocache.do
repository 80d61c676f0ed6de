* ado programs count against adosize (units of 1000 bytes); each of these is about 6000 bytes
set adosize 13
adobig1
adobig2
program dir
* adobig1 is used again, so adobig2 is the least recently used when adobig3 comes
adobig1
adobig3
program dir
* a smaller limit trims at once
set adosize 10
program dir
* the running program and the one it just loaded stay, even when together they are over the limit
adobig4
set adosize 5
set adosize 10001
set adosize 1000
