* logging for undo: an object records the commands run on it, and undo plays back their undo lines
_cls acct {
    double balance = 0
    string owner = "nobody"
    array moves
}
program .acct.deposit
    .balance = `.balance' + `1'
end
.a = .acct.new
.a._loglevel allon
display "`.a._loglevel'"
.a.balance = 100
.a.owner = "kim"
.a.moves.Arrpush 100
.a.deposit 50
display "`.a.balance' `.a.owner' `.a.moves.arrnels'"
local n = `.a.__LOG.arrnels'
forvalues i = 1/`n' {
    display `"`.a.__LOG[`i']'"'
}
* the last command is undone first: the program's change to the balance
_cls undo .a
display "`.a.balance' `.a.moves.arrnels'"
.a._undoLOG
display "`.a.moves.arrnels'"
_cls undo .a
display "`.a.owner'"
* modify changes without logging; with logging off nothing is recorded
_cls modify .a.balance = 5
.a._loglevel off
.a.balance = 6
display "`.a.__LOG.arrnels'"
* the level new objects start at
_cls set logging allon
.b = .acct.new
display "`.b._loglevel'"
_cls set logging 1
.c = .acct.new
display "`.c._loglevel'"
_cls set logging sometimes
_cls set logging off
* a member named __LOG that is no array: the log cannot be written
.d = .acct.new
.d.Declare double __LOG = 1
.d._loglevel 1
.d.balance = 3
display "`.d.balance'"
