* an ado-file on the ado path is loaded on first use; its subprograms belong to it
program adohelper
    display "the top-level adohelper"
end
adomain one two
adohelper
program list adomain
program dir
which adomain
which display
which nosuchcommand
* the program stays loaded: a second call does not read the file
adomain again
* failures of loading
adobadline
adoother
adoempty
adofailing
program dir
* a subprogram cannot be dropped by name; its main program takes it along
program drop adohelper
program drop adohelper
program drop adomain
program dir
* discard drops what came from ado-files
adocalls
discard
program dir
