* help reaches chelp through its ado-file; man and chelp are the same command
help sleep
man sleep
chelp sleep
* an abbreviation of a built-in command, and commands told of in another command's file
help q
help break
* a topic without help
help nosuch
chelp nosuch
man nosuch extra
capture help nosuch
display _rc
* help is output like any other: quietly keeps it back
quietly help sleep
view help nobreak
display "after help, the screen is in plain line mode again"
* with the ado path pointing nowhere, help is still found in the base directory
global S_ADO "nowhere"
capture chelp sleep
display _rc
capture chelp nosuch
display _rc
