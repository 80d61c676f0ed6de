* capture keeps quiet and swallows the code
capture error 198
capture display "not shown"
capture: display "colon form not shown"
capture noisily display "noisily under capture"
capture noisily error 111
* quietly and noisily
quietly display "hidden"
quietly: display "hidden"
quietly noisily display "noisily wins"
noisily display "plain noisily"
quietly quietly display "two quietly"
display "level back to normal"
quietly set output error
display "set output inside quietly stays"
set output proc
display "back to proc"
set output inform
display "result class hidden"
display as text "text class hidden"
error 198
set output proc
* nobreak and break run their command
nobreak display "under nobreak"
break display "under break"
nobreak break display "both"
