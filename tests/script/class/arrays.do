* arrays of objects
_cls pt {
    double x = 0
}
.list = {}
forvalues i = 1/3 {
    .list.Arrpush .pt.new
    .list[`i'].x = `i' * 10
}
display "`.list.arrnels' `.list[2].x' `.list[3].classname'"
.list[5] = .pt.new
display "`.list.arrnels' [`.list[4]'] `.list[5].x'"
.list.Arrdropel 4
display "`.list.arrnels' `.list[4].x'"
.list.Arrpop
display "`.list.arrnels'"
* elements of other kinds
.mixed = {1, "two", {3, 4}}
display "`.mixed[1]' `.mixed[2]' `.mixed[3][2]' `.mixed.arrindexof "two"' `.mixed.arrindexof 1' `.mixed.arrindexof 9'"
.mixed[3][1] = "three"
display "`.mixed[3][1]'"
.mixed.Arrdropall
display "`.mixed.arrnels'"
* array built-ins on what is no array
.x = .pt.new
.x.Arrpush 1
.x.x.Arrpop
display "`.x.arrnels'"
* bad indices and initialisers
.list[0] = 1
.list[1.5] = 1
.list[9].x = 1
.bad = {1, , 2}
.bad = {1, "2"
.x.Declare array arr = 5
